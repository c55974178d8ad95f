// tessel_counters._native: the library for Python scripts, through the
// command-line tool's checking layer. Every input is checked with the
// library's queries that never stop before any call that could, and a bad one
// raises KeyError, ValueError or IndexError (TypeError for an argument of the
// wrong type) with the tool's message; nothing a script passes ends the
// interpreter, nor does an object in any state (made by __new__ alone, after a
// failed call). The package tessel_counters (tessel_counters/__init__.py)
// re-exports all of it.
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <limits>
#include <sstream>
#include <utility>

#include "Catalog.h"
#include "Commands.h"
#include "DumpFormat.h"
#include "Entry.h"
#include "Locate.h"
#include "Run.h"

namespace py = pybind11;
using Tool::Field;
using Tool::Target;

namespace {

// Raised for a field that the class doesn't have on its chip and variant: a
// KeyError, and an AttributeError so that hasattr and getattr work.
PyObject* fieldError = nullptr;

// The object behind `self`, or nullptr for one that __init__ never made
// (tessel_counters.Accessor.__new__ alone) or that is no Accessor.
Target* made(py::handle self) {
  if (!py::isinstance<Target>(self)) return nullptr;
  const auto vh = reinterpret_cast<py::detail::instance*>(self.ptr())->get_value_and_holder();
  return vh && vh.holder_constructed() ? vh.value_ptr<Target>() : nullptr;
}

// The same, where there must be one: a TypeError otherwise.
Target& live(py::handle self) {
  if (Target* t = made(self)) return *t;
  if (!py::isinstance<Target>(self))
    throw py::type_error(std::string("an Accessor method was called on ") +
                         Py_TYPE(self.ptr())->tp_name);
  throw py::type_error(
      "this Accessor was never initialised; make one with tessel_counters.open(class_name, "
      "chip)");
}

// A method of the Accessor: f over the object behind self.
template <typename R>
auto onLive(R (*f)(const Target&)) {
  return [f](py::handle self) { return f(live(self)); };
}

// An integer argument (anything with __index__) as decimal text; anything
// else is a TypeError.
std::string intText(const py::handle& value, const std::string& what) {
  if (!PyIndex_Check(value.ptr()))
    throw py::type_error(what + " must be an int, not " + Py_TYPE(value.ptr())->tp_name);
  const auto number = py::reinterpret_steal<py::object>(PyNumber_Index(value.ptr()));
  if (!number) throw py::error_already_set();
  return py::str(number);
}

// A text argument; anything else is a TypeError.
std::string textOf(const py::handle& value, const std::string& what) {
  if (!PyUnicode_Check(value.ptr()))
    throw py::type_error(what + " must be a str, not " + Py_TYPE(value.ptr())->tp_name);
  Py_ssize_t size = 0;
  const char* text = PyUnicode_AsUTF8AndSize(value.ptr(), &size);
  if (!text) {
    PyErr_Clear();
    throw py::value_error(what + " is not valid Unicode text");
  }
  return {text, static_cast<std::size_t>(size)};
}

// A chip as the tool takes it: a name ("BCM88690_B0") or a number (10).
std::string chipText(const py::handle& chip) {
  return PyUnicode_Check(chip.ptr()) ? textOf(chip, "chip") : intText(chip, "chip");
}

Hardware::ChipType chipOf(const py::handle& chip) {
  return Tool::parseChip(chipText(chip));
}

// A path: str or os.PathLike.
std::string pathOf(const py::handle& path, const std::string& what) {
  const auto fs = py::reinterpret_steal<py::object>(PyOS_FSPath(path.ptr()));
  if (!fs) {
    PyErr_Clear();
    throw py::type_error(what + " must be a path (str or os.PathLike), not " +
                         Py_TYPE(path.ptr())->tp_name);
  }
  return textOf(fs, what);
}

// The entry's bytes, exactly its size: from a bytes-like object; from text in
// the tool's grammar (Entry.h), bytes or, with `words`, 32-bit words; or, with
// `words`, from a sequence of ints. How text that could be misread was read
// is told as a UserWarning.
std::vector<U8> entryOf(const Target& t, const py::handle& data, bool words) {
  const std::string unit = words ? "word" : "byte";
  if (PyUnicode_Check(data.ptr())) {
    const Tool::EntryReader how{words ? Tool::EntryForm::Words : Tool::EntryForm::Bytes, "data",
                                "pass words=True"};
    Tool::EntryText entry = Tool::parseEntry(textOf(data, "data"), how);
    auto bytes = Tool::fitEntry(t, entry, how, true);
    for (const auto& note : entry.notes)
      if (PyErr_WarnEx(PyExc_UserWarning, note.c_str(), 2) < 0) throw py::error_already_set();
    return bytes;
  }
  if (words) {
    if (PyObject_CheckBuffer(data.ptr()) || !PySequence_Check(data.ptr()))
      throw py::type_error(std::string("with words=True, data must be text or a sequence of "
                                       "ints, not ") +
                           Py_TYPE(data.ptr())->tp_name);
    const auto list = py::reinterpret_borrow<py::sequence>(data);
    Tool::checkLength(t, list.size(), "data", true, unit);
    std::vector<U8> bytes;
    for (std::size_t i = 0; i < list.size(); ++i) {
      const std::string text = intText(list[i], "word " + std::to_string(i));
      const U32 word = static_cast<U32>(
          Tool::parseNumber(text, "word " + std::to_string(i) + " of data", 0xffffffffull));
      for (int b = 0; b < 4; ++b) bytes.push_back(static_cast<U8>(word >> (8 * b)));
    }
    return bytes;
  }
  if (!PyObject_CheckBuffer(data.ptr()))
    throw py::type_error(std::string("data must be bytes-like or a hex string, not ") +
                         Py_TYPE(data.ptr())->tp_name);
  const auto copy = py::reinterpret_steal<py::object>(PyBytes_FromObject(data.ptr()));
  if (!copy) throw py::error_already_set();
  const std::string raw = py::bytes(copy);
  Tool::checkLength(t, raw.size(), "data", true);
  return {raw.begin(), raw.end()};
}

Target openAccessor(const py::handle& cls, const py::handle& chip, const py::handle& variant,
                    const py::handle& data, bool words = false) {
  const std::string name =
      Tool::parseClass(textOf(cls, "class_name"), "tessel_counters.classes(chip)");
  const Hardware::ChipType c = chipOf(chip);
  const std::string text = variant.is_none() ? "" : intText(variant, "variant");
  Target t = Tool::openTarget(name, c, variant.is_none() ? nullptr : &text, "variant", nullptr);
  if (!data.is_none()) Tool::loadBuffer(t, entryOf(t, data, words));
  return t;
}

// As openAccessor, where data must be given.
Target openGiven(const py::handle& cls, const py::handle& chip, const py::handle& variant,
                 const py::handle& data, bool words) {
  if (data.is_none())
    throw py::type_error(
        "data must be bytes-like or a hex string (or, with words=True, a "
        "sequence of ints), not None");
  return openAccessor(cls, chip, variant, data, words);
}

// A field of the target by a name that the script gave (any object).
Field fieldOf(const Target& t, const py::handle& name) {
  const std::string text = textOf(name, "a field name");
  try {
    return Tool::findField(t, text);
  } catch (const Tool::UsageError& e) {
    PyErr_SetString(fieldError, e.message.c_str());
    throw py::error_already_set();
  }
}

bool hasField(const Target& t, const std::string& name) {
  try {
    Tool::findField(t, name);
    return true;
  } catch (const Tool::UsageError&) {
    return false;
  }
}

py::int_ readValue(const Target& t, const Field& f) {
  const std::string hex = Tool::hexValue(Tool::readField(*t.object, f), f.width);
  return py::reinterpret_steal<py::int_>(PyLong_FromString(hex.c_str(), nullptr, 16));
}

void writeValue(Target& t, const Field& f, const py::handle& value) {
  const std::string text = intText(value, "the value of " + f.name);
  if (text[0] == '-')
    throw py::value_error("value " + text + " for " + f.name + " is negative; fields are unsigned");
  Tool::writeField(t, f, Tool::parseFieldValue(text, f.width, f.name + " on " + t.where()));
}

py::bytes entry(const Target& t) {
  return {reinterpret_cast<const char*>(t.object->buf()), t.entryBytes()};
}

std::vector<U8> entryBytes(const Target& t) {
  return {t.object->buf(), t.object->buf() + t.entryBytes()};
}

py::list words(const Target& t) {
  py::list out;
  const U8* bytes = t.object->buf();
  for (unsigned w = 0; w < t.object->width(); ++w) {
    U32 word = 0;
    for (unsigned b = 0; b < 4; ++b) word |= static_cast<U32>(bytes[4 * w + b]) << (8 * b);
    out.append(word);
  }
  return out;
}

py::dict fields(const Target& t) {
  py::dict out;
  for (const auto& f : Tool::fieldsOf(t)) out[f.name.c_str()] = readValue(t, f);
  return out;
}

py::list fieldNames(const Target& t) {
  py::list out;
  for (const auto& f : Tool::fieldsOf(t)) out.append(f.name);
  return out;
}

py::dict layout(const Target& t) {
  const auto rows = Tool::fieldsOf(t);
  const auto views = Tool::viewsOf(rows);
  py::dict out;
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const int parent = views[i].parent;
    out[rows[i].name.c_str()] = py::dict(
        py::arg("hardwareName") = rows[i].hardwareName, py::arg("id") = rows[i].id,
        py::arg("offset") = rows[i].offset, py::arg("width") = rows[i].width,
        py::arg("viewOf") = parent < 0 ? py::object(py::none())
                                       : py::str(rows[static_cast<std::size_t>(parent)].name));
  }
  return out;
}

py::object fromJson(const std::string& text) {
  return py::module_::import("json").attr("loads")(text);
}

py::object describe(const Target& t) {
  std::ostringstream text;
  Tool::describeJson(t, text);
  return fromJson(text.str());
}

py::object decoded(const Target& t) {
  return fromJson(Tool::jsonText(Tool::decodeJson(t, entryBytes(t))));
}

// An index as the user gave it (None: 0); a negative or huge one is out of every range.
U32 indexOf(const Target& t, Tool::Index which, const py::handle& value, const char* what) {
  if (value.is_none()) return 0;
  const std::string text = intText(value, what);
  U64 v = std::numeric_limits<U64>::max();
  if (text[0] != '-' && text.size() <= 19) v = std::stoull(text);
  return Tool::checkIndex(t, which, v, what + (" " + text));
}

py::object address(const Target& t, const py::handle& instance, const py::handle& entry,
                   const py::handle& array, bool all) {
  if (all) {
    for (const auto& [value, name] :
         {std::pair{instance, "instance"}, {entry, "entry"}, {array, "array"}})
      if (!value.is_none())
        throw py::value_error(std::string("all=True lists every instance and element; drop ") +
                              name);
    py::list rows;
    for (const auto& r : Tool::addressRows(*t.object))
      rows.append(py::dict(py::arg("instance") = r.instance, py::arg("arrayElement") = r.element,
                           py::arg("firstAddress") = r.first, py::arg("lastAddress") = r.last,
                           py::arg("subBlock") = r.subBlock, py::arg("block") = r.block));
    return std::move(rows);
  }
  const auto at =
      Tool::schanAddress(*t.object, indexOf(t, Tool::Index::Instance, instance, "instance"),
                         indexOf(t, Tool::Index::Entry, entry, "entry"),
                         indexOf(t, Tool::Index::Element, array, "array"));
  return py::dict(py::arg("address") = at.address, py::arg("subBlock") = at.subBlock,
                  py::arg("block") = at.block);
}

py::dict chips() {
  py::dict out;
  for (auto chip : Tool::knownChips())
    out[Tool::chipName(chip).c_str()] = static_cast<unsigned>(chip);
  return out;
}

py::dict classes(const py::handle& chip) {
  std::vector<Hardware::ChipType> where = Tool::knownChips();
  if (!chip.is_none()) where = {chipOf(chip)};
  py::dict out;
  for (const auto& cls : Tool::classNames()) {
    py::dict variants;
    std::string kind;
    for (auto c : where) {
      const auto v = Tool::variantsOf(cls, c);
      if (v.empty()) continue;
      variants[Tool::chipName(c).c_str()] = v;
      kind = Tool::kindName(Tool::classOf(cls).kind);
    }
    if (!kind.empty())
      out[cls.c_str()] = py::dict(py::arg("kind") = kind, py::arg("variants") = variants);
  }
  return out;
}

// What lies at an S-channel address, as tessel-counters locate --json lists it.
py::list locate(const py::handle& chip, const py::handle& block, const py::handle& address,
                const py::handle& subBlock) {
  const std::string subBlockText = subBlock.is_none() ? "" : intText(subBlock, "sub_block");
  const std::string addressText = intText(address, "address");
  const auto q = Tool::parseLocate(chipText(chip), intText(block, "block"), &addressText,
                                   subBlock.is_none() ? nullptr : &subBlockText);
  py::list out;
  for (const auto& l : q.run())
    out.append(py::dict(py::arg("class") = l.cls, py::arg("variants") = l.variants,
                        py::arg("instance") = l.instance, py::arg("subBlock") = l.subBlock,
                        py::arg("arrayElement") = l.arrayElement,
                        py::arg("tableEntry") = l.tableEntry));
  return out;
}

// A command of the tool, run in-process with --json: its JSON, or its JSON
// Lines as a list.
py::object toolJson(std::vector<std::string> args, bool lines) {
  args.push_back("--json");
  std::string out;
  Tool::runCaptured(args, out);
  if (!lines) return fromJson(out);
  py::list rows;
  std::size_t start = 0;
  while (start < out.size()) {
    const std::size_t end = out.find('\n', start);
    rows.append(fromJson(out.substr(start, end - start)));
    if (end == std::string::npos) break;
    start = end + 1;
  }
  return std::move(rows);
}

// Adds "OPTION VALUE" where the value is given.
void optional(std::vector<std::string>& args, const char* option, const py::handle& value,
              std::string (*text)(const py::handle&)) {
  if (value.is_none()) return;
  args.push_back(option);
  args.push_back(text(value));
}

std::string variantText(const py::handle& v) {
  return intText(v, "variant");
}

py::object search(const py::handle& pattern, const py::handle& chip) {
  std::vector<std::string> args = {"search", textOf(pattern, "pattern")};
  optional(args, "--chip", chip, chipText);
  return toolJson(args, false);
}

py::object diff(const py::handle& chip, const py::handle& to, const py::handle& cls,
                const py::handle& variant, const py::handle& toVariant) {
  std::vector<std::string> args = {"diff"};
  if (!cls.is_none()) args.push_back(textOf(cls, "class_name"));
  optional(args, "--chip", chip, chipText);
  optional(args, "--to", to, chipText);
  optional(args, "--variant", variant, variantText);
  optional(args, "--to-variant", toVariant,
           [](const py::handle& v) { return intText(v, "to_variant"); });
  return toolJson(args, false);
}

// One entry of a dump, as the reader gives it and the writer takes it.
py::dict dumpEntryDict(const Tool::DumpEntry& e) {
  return py::dict(py::arg("block") = e.block,
                  py::arg("subBlock") =
                      e.anySubBlock ? py::object(py::none()) : py::object(py::int_(e.subBlock)),
                  py::arg("address") = e.address, py::arg("words") = e.words);
}

py::list readDump(const py::handle& text) {
  py::list out;
  for (const auto& line : Tool::readDump(textOf(text, "text"))) {
    py::dict row = line.problem.empty() ? dumpEntryDict(line.entry) : py::dict();
    row["line"] = line.line;
    if (!line.problem.empty()) row["error"] = line.problem;
    out.append(row);
  }
  return out;
}

U32 u32Of(const py::handle& value, const std::string& what) {
  return static_cast<U32>(Tool::parseNumber(intText(value, what), what, 0xffffffffull));
}

std::string dumpLine(const py::handle& block, const py::handle& subBlock, const py::handle& address,
                     const py::handle& words) {
  Tool::DumpEntry e;
  e.block = u32Of(block, "block");
  e.anySubBlock = subBlock.is_none();
  if (!e.anySubBlock) e.subBlock = u32Of(subBlock, "sub_block");
  e.address = u32Of(address, "address");
  if (PyUnicode_Check(words.ptr()) || PyObject_CheckBuffer(words.ptr()) ||
      !PySequence_Check(words.ptr()))
    throw py::type_error(std::string("words must be a sequence of ints, not ") +
                         Py_TYPE(words.ptr())->tp_name);
  const auto list = py::reinterpret_borrow<py::sequence>(words);
  if (list.size() == 0) throw py::value_error("words is empty; an entry has at least one word");
  for (std::size_t i = 0; i < list.size(); ++i)
    e.words.push_back(u32Of(list[i], "word " + std::to_string(i)));
  return Tool::dumpText(e);
}

PyObject* errorType(Tool::ErrorKind kind) {
  switch (kind) {
    case Tool::ErrorKind::UnknownName:
      return PyExc_KeyError;
    case Tool::ErrorKind::OutOfRange:
      return PyExc_IndexError;
    case Tool::ErrorKind::BadValue:
      break;
  }
  return PyExc_ValueError;
}

// The message as Python text, whatever bytes of the input it quotes.
void raise(PyObject* type, const std::string& message) {
  const auto text = py::reinterpret_steal<py::object>(
      PyUnicode_DecodeUTF8(message.data(), static_cast<Py_ssize_t>(message.size()), "replace"));
  if (text) PyErr_SetObject(type, text.ptr());
}

// The class, with a buffer that answers for an object in any state: one
// that was never initialised is an empty, read-only buffer (the buffer
// protocol of pybind11 has no way to raise).
struct AccessorClass : py::class_<Target> {
  using py::class_<Target>::class_;

  static py::buffer_info* buffer(PyObject* self, void*) {
    static U8 nothing = 0;
    if (Target* t = made(self)) return new py::buffer_info(t->object->buf(), t->entryBytes());
    return new py::buffer_info(&nothing, 1, "B", 1, {0}, {1}, true);
  }
  void installBuffer() { install_buffer_funcs(&buffer, nullptr); }
};

const char* const kAccessorDoc =
    "Accessor(class_name, chip, variant=None, data=None, *, words=False)\n\n"
    "One register or memory entry on a chip and variant, over bytes of its own.\n"
    "Fields read and write as attributes (r.engineNMode) or by accessor or hardware\n"
    "name (r['ENGINE_N_MODE']); the field names are its keys (keys(), values(),\n"
    "items(), in, iteration, get()). bytes(r) and memoryview(r) are the entry's\n"
    "bytes, byte 0 first, and len(r) their count. Two accessors are equal when\n"
    "class, chip, variant and bytes are; being mutable, an accessor has no hash.\n"
    "copy, deepcopy and pickle copy it.";

void defineAccessor(py::module_& m) {
  const auto none = py::none();
  AccessorClass cls(m, "Accessor", py::buffer_protocol(), kAccessorDoc);
  cls.installBuffer();
  cls.def(py::init([](const py::object& c, const py::object& chip, const py::object& variant,
                      const py::object& data,
                      bool words) { return openAccessor(c, chip, variant, data, words); }),
          py::arg("class_name"), py::arg("chip"), py::arg("variant") = none, py::arg("data") = none,
          py::kw_only(), py::arg("words") = false,
          "As tessel_counters.open, which gives an object of the class's own type.")
      .def_property_readonly(
          "class_name", [](py::handle t) { return live(t).cls; }, "The class's name.")
      .def_property_readonly(
          "chip", [](py::handle t) { return Tool::chipName(live(t).chip); }, "The chip's name.")
      .def_property_readonly(
          "variant", [](py::handle t) { return unsigned{live(t).variant}; }, "The variant.")
      .def_property_readonly(
          "kind", [](py::handle t) { return Tool::kindOf(*live(t).object); },
          "'register' or 'memory'.");
  const auto get = [](py::handle t, const py::object& n) {
    return readValue(live(t), fieldOf(live(t), n));
  };
  const auto set = [](py::handle t, const py::object& n, const py::object& value) {
    writeValue(live(t), fieldOf(live(t), n), value);
  };
  const auto del = [](py::handle t, const py::object& n) {
    const Field f = fieldOf(live(t), n);
    throw py::type_error("the field " + f.name + " can't be deleted: every field of an entry " +
                         "holds a value; set it to 0");
  };
  cls.def(
         "__getattr__",
         [get](py::handle t, const py::object& n) {
           // An AttributeError, so that getattr with a default and hasattr answer.
           if (!made(t) && py::isinstance<Target>(t))
             throw py::attribute_error("this Accessor was never initialised and has no fields");
           return get(t, n);
         },
         py::arg("name"), "A field's value by accessor or hardware name.")
      .def("__getitem__", get, py::arg("name"), "A field's value by accessor or hardware name.")
      .def("__setattr__", set, py::arg("name"), py::arg("value"),
           "Writes a field, by accessor or hardware name.")
      .def("__setitem__", set, py::arg("name"), py::arg("value"),
           "Writes a field, by accessor or hardware name.")
      .def("__delattr__", del, py::arg("name"), "Refused: a field always holds a value.")
      .def("__delitem__", del, py::arg("name"), "Refused: a field always holds a value.")
      .def(
          "__contains__",
          [](py::handle t, const py::object& n) {
            return PyUnicode_Check(n.ptr()) && hasField(live(t), textOf(n, "a field name"));
          },
          py::arg("name"), "Whether the name is a field here (accessor or hardware name).")
      .def(
          "__iter__", [](py::handle t) { return py::iter(fieldNames(live(t))); },
          "The accessor names of the fields valid here.")
      .def("keys", onLive(&fieldNames),
           "The accessor names of the fields valid on this chip and variant.")
      .def(
          "values", [](py::handle t) { return fields(live(t)).attr("values")(); },
          "The fields' values, in the order of keys().")
      .def(
          "items", [](py::handle t) { return fields(live(t)).attr("items")(); },
          "(name, value) of every field, in the order of keys().")
      .def(
          "get",
          [](py::handle t, const py::object& n, const py::object& fallback) -> py::object {
            if (!hasField(live(t), textOf(n, "a field name"))) return fallback;
            return readValue(live(t), fieldOf(live(t), n));
          },
          py::arg("name"), py::arg("default") = none,
          "A field's value, or default where the name is no field here.")
      .def("__bytes__", onLive(&entry), "The entry's bytes, byte 0 first.")
      .def(
          "__len__", [](py::handle t) { return live(t).entryBytes(); },
          "The entry's size in bytes.")
      .def(
          "__eq__",
          [](py::handle self, const py::object& other) -> py::object {
            const Target *t = made(self), *o = made(other);
            if (!t || !o) return py::reinterpret_borrow<py::object>(Py_NotImplemented);
            return py::bool_(t->cls == o->cls && t->chip == o->chip && t->variant == o->variant &&
                             entryBytes(*t) == entryBytes(*o));
          },
          py::arg("other"), "Equal when class, chip, variant and bytes are.")
      .def(
          "__copy__",
          [](py::handle t) {
            return py::module_::import("tessel_counters")
                .attr("open")(live(t).cls, Tool::chipName(live(t).chip), live(t).variant,
                              entry(live(t)));
          },
          "A copy, with bytes of its own.")
      .def(
          "__deepcopy__",
          [](const py::object& self, const py::object&) { return self.attr("__copy__")(); },
          py::arg("memo"), "A copy, with bytes of its own.")
      .def(
          "__reduce__",
          [](py::handle t) {
            return py::make_tuple(py::module_::import("tessel_counters").attr("open"),
                                  py::make_tuple(live(t).cls, Tool::chipName(live(t).chip),
                                                 live(t).variant, entry(live(t))));
          },
          "For pickle: open(class_name, chip, variant, bytes).")
      .def(
          "__dir__",
          [](const py::object& self) {
            py::list names = py::module_::import("builtins").attr("object").attr("__dir__")(self);
            if (const Target* t = made(self))
              for (const auto& f : Tool::fieldsOf(*t)) names.append(f.name);
            return names;
          },
          "Attributes and fields.")
      .def(
          "__repr__",
          [](py::handle self) {
            const Target* t = made(self);
            if (!t) return std::string("<tessel_counters.Accessor, never initialised>");
            std::string set;
            for (const auto& f : Tool::fieldsOf(*t)) {
              const auto value = Tool::readField(*t->object, f);
              if (std::any_of(value.begin(), value.end(), [](U8 b) { return b != 0; }))
                set += (set.empty() ? " " : ", ") + f.name + "=" + Tool::hexValue(value, f.width);
            }
            return "<" + t->cls + " on " + t->where() + ":" +
                   (set.empty() ? " all fields 0" : set) + ">";
          },
          "Class, chip, variant and every field that is not 0.")
      .def("fields", onLive(&fields),
           "Every field valid on this chip and variant: accessor name -> value.")
      .def("words", onLive(&words), "The entry's 32-bit words, word 0 (bits 0..31) first, as ints.")
      .def("layout", onLive(&layout),
           "Every field valid here: accessor name -> hardwareName, id, offset, width (bits) and\n"
           "viewOf, the narrowest field whose bits hold all of this one's (None if none).")
      .def(
          "hex", [](py::handle t, const py::args& sep) { return entry(live(t)).attr("hex")(*sep); },
          "The entry's bytes in hex, byte 0 first, as bytes.hex().")
      .def("describe", onLive(&describe),
           "Geometry, instances and fields, as tessel-counters describe --json.")
      .def("decoded", onLive(&decoded),
           "The entry as tessel-counters decode --json gives it: every field with its bits,\n"
           "value, viewOf and overlaps, and strayBits, set bits that lie in no field.")
      .def(
          "address",
          [](py::handle t, const py::object& i, const py::object& e, const py::object& a,
             bool all) { return address(live(t), i, e, a, all); },
          py::arg("instance") = none, py::arg("entry") = none, py::arg("array") = none,
          py::kw_only(), py::arg("all") = false,
          "S-channel address, subBlock and block of an instance, table entry and array element\n"
          "(each 0 if not given); with all=True, as tessel-counters address --all, a list of\n"
          "every instance and array element: instance, arrayElement, firstAddress and\n"
          "lastAddress (over a memory's entries), subBlock and block.");
  cls.attr("__hash__") = py::none();
  cls.attr("__module__") = "tessel_counters";
}

}  // namespace

PYBIND11_MODULE(_native, m) {
  m.doc() =
      "Hardware metainfo of the counter registers and memories of a family of switch chips:\n"
      "field layouts, S-channel addresses and packing of field values in an entry's bytes.";
  m.attr("__version__") = Hardware::catalogueDescription().version;
  const py::tuple bases =
      py::make_tuple(py::handle(PyExc_KeyError), py::handle(PyExc_AttributeError));
  fieldError = PyErr_NewExceptionWithDoc(
      "tessel_counters.FieldError",
      "A field that the class doesn't have on its chip and variant: a KeyError, and an\n"
      "AttributeError, so that hasattr and getattr with a default work.",
      bases.ptr(), nullptr);
  m.add_object("FieldError", py::handle(fieldError));
  py::register_exception_translator([](std::exception_ptr p) {
    try {
      if (p) std::rethrow_exception(std::move(p));
    } catch (const Tool::UsageError& e) {
      raise(errorType(e.kind), e.message);
    }
  });
  defineAccessor(m);

  const auto none = py::none();
  m.def("chips", &chips, "The chip models: name -> number.");
  m.def("classes", &classes, py::arg("chip") = none,
        "The classes (on one chip, by name or number): name -> kind ('register' or 'memory')\n"
        "and variants, a dict chip name -> list of variants.");
  m.def(
      "decode",
      [](const py::object& cls, const py::object& chip, const py::object& data,
         const py::object& variant, bool words, bool full) -> py::object {
        const Target t = openGiven(cls, chip, variant, data, words);
        return full ? decoded(t) : fields(t);
      },
      py::arg("class_name"), py::arg("chip"), py::arg("data"), py::arg("variant") = none,
      py::kw_only(), py::arg("words") = false, py::arg("full") = false,
      "Every field of the entry in data (as open takes it): accessor name -> value; with\n"
      "full=True, what tessel-counters decode --json gives: views, overlaps, stray bits.");
  m.def(
      "encode",
      [](const py::object& cls, const py::object& chip, const py::object& variant,
         const py::kwargs& values) {
        Target t = openAccessor(cls, chip, variant, py::none());
        std::vector<Field> given;
        for (const auto& [name, value] : values) {
          const Field f = fieldOf(t, name);
          Tool::checkDistinct(given, f);
          given.push_back(f);
          writeValue(t, f, value);
        }
        return entry(t);
      },
      py::arg("class_name"), py::arg("chip"), py::arg("variant") = none,
      "The entry's bytes with the fields given by accessor or hardware name, the rest zero.");
  m.def(
      "describe",
      [](const py::object& cls, const py::object& chip, const py::object& variant) {
        return describe(openAccessor(cls, chip, variant, py::none()));
      },
      py::arg("class_name"), py::arg("chip"), py::arg("variant") = none,
      "Geometry, instances and fields, as tessel-counters describe --json.");
  m.def(
      "address",
      [](const py::object& cls, const py::object& chip, const py::object& variant,
         const py::object& instance, const py::object& entry, const py::object& array, bool all) {
        return address(openAccessor(cls, chip, variant, py::none()), instance, entry, array, all);
      },
      py::arg("class_name"), py::arg("chip"), py::arg("variant") = none, py::arg("instance") = none,
      py::arg("entry") = none, py::arg("array") = none, py::kw_only(), py::arg("all") = false,
      "S-channel address, subBlock and block, as tessel-counters address; with all=True,\n"
      "every instance and array element, as Accessor.address(all=True).");
  m.def("locate", &locate, py::arg("chip"), py::arg("block"), py::arg("address"),
        py::arg("sub_block") = none,
        "What lies at an S-channel address of the chip (name or number): a list of dicts with\n"
        "'class', 'variants', 'instance', 'subBlock', 'arrayElement' and 'tableEntry', as\n"
        "tessel-counters locate --json lists them; empty where nothing of the catalogue lies.");
  m.def(
      "block_map",
      [](const py::object& chip, const py::object& block, const py::object& subBlock) {
        std::vector<std::string> args = {"locate", "--chip", chipText(chip), "--block",
                                         intText(block, "block")};
        optional(args, "--sub-block", subBlock,
                 [](const py::handle& v) { return intText(v, "sub_block"); });
        return toolJson(args, false);
      },
      py::arg("chip"), py::arg("block"), py::arg("sub_block") = none,
      "The whole map of a block, as tessel-counters locate --json without ADDRESS gives it:\n"
      "'ranges', every range of addresses in order with what lies there.");
  m.def("search", &search, py::arg("pattern"), py::arg("chip") = none,
        "Classes and fields by name, as tessel-counters search --json: a part of a name in any\n"
        "case, or a glob with * and ? over the whole name.");
  m.def("diff", &diff, py::arg("chip"), py::arg("to"), py::arg("class_name") = none,
        py::arg("variant") = none, py::arg("to_variant") = none,
        "What changes for a driver from chip to chip `to`, as tessel-counters diff --json: of\n"
        "one class (geometry and fields), or without class_name of every class.");
  m.def(
      "dump_list",
      [](const py::object& chip, const py::object& cls) {
        std::vector<std::string> args = {"dump", "list"};
        optional(args, "--chip", chip, chipText);
        if (!cls.is_none()) args.insert(args.end(), {"--class", textOf(cls, "class_name")});
        return toolJson(args, true);
      },
      py::arg("chip"), py::arg("class_name") = none,
      "Every entry of the catalogue on the chip (or of one class), words zero, as\n"
      "tessel-counters dump list --json: a list of dicts block, subBlock, address, words.");
  m.def(
      "dump_decode",
      [](const py::object& path, const py::object& chip, const py::object& variant) {
        std::vector<std::string> args = {"dump", "decode", pathOf(path, "path")};
        optional(args, "--chip", chip, chipText);
        optional(args, "--variant", variant, variantText);
        return toolJson(args, true);
      },
      py::arg("path"), py::arg("chip"), py::arg("variant") = none,
      "Every entry of the dump in the file, found by its address and decoded, as\n"
      "tessel-counters dump decode --json: a dict per line of the dump.");
  m.def(
      "dump_diff",
      [](const py::object& a, const py::object& b, const py::object& chip) {
        return toolJson({"dump", "diff", pathOf(a, "a"), pathOf(b, "b"), "--chip", chipText(chip)},
                        true);
      },
      py::arg("a"), py::arg("b"), py::arg("chip"),
      "Every field whose value differs between the dumps in two files, as tessel-counters\n"
      "dump diff --json: a dict per changed entry and per entry in one dump only, and last\n"
      "{'summary': ...}. A line that can't be compared is a ValueError.");
  m.def("read_dump", &readDump, py::arg("text"),
        "The entries of a dump's text (either form, mixed): a dict per line that holds one,\n"
        "with 'line' and 'block', 'subBlock' (None where the line gives none), 'address' and\n"
        "'words', or 'line' and 'error'.");
  m.def("dump_line", &dumpLine, py::arg("block"), py::arg("sub_block"), py::arg("address"),
        py::arg("words"),
        "One entry as a line of a dump, without its line end: '617.0 0x21c 0x000000ff'\n"
        "(sub_block None: '617 0x21c ...').");
}
