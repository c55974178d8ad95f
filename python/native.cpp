// tessel_counters: the library for Python scripts, through the command-line
// tool's checking layer. Every input is checked with the library's queries that
// never stop before any call that could, and a bad one raises KeyError,
// ValueError or IndexError (TypeError for an argument of the wrong type) with
// the tool's message; nothing a script passes ends the interpreter.
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <limits>
#include <sstream>
#include <utility>

#include "Catalog.h"
#include "Commands.h"
#include "Entry.h"
#include "Locate.h"

namespace py = pybind11;
using Tool::Field;
using Tool::Target;

namespace {

// Raised for a field that the class doesn't have on its chip and variant: a
// KeyError, and an AttributeError so that hasattr and getattr work.
PyObject* fieldError = nullptr;

// The decimal text of an integer argument; anything else is a TypeError.
std::string intText(const py::object& value, const std::string& what) {
  if (!PyIndex_Check(value.ptr()))
    throw py::type_error(what + " must be an int, not " + Py_TYPE(value.ptr())->tp_name);
  return py::str("{:d}").format(value);
}

// A chip by name ("BCM88690_B0") or number (10).
Hardware::ChipType chipOf(const py::object& chip) {
  if (py::isinstance<py::str>(chip)) return Tool::parseChip(chip.cast<std::string>());
  return Tool::parseChip(intText(chip, "chip"));
}

// The entry's bytes, exactly its size: from a bytes-like object; from text in
// the tool's grammar (Entry.h), bytes or, with `words`, 32-bit words; or, with
// `words`, from a sequence of ints. How text that could be misread was read
// is told as a UserWarning.
std::vector<U8> entryOf(const Target& t, const py::object& data, bool words) {
  const std::string unit = words ? "word" : "byte";
  if (py::isinstance<py::str>(data)) {
    const Tool::EntryReader how{words ? Tool::EntryForm::Words : Tool::EntryForm::Bytes, "data",
                                "pass words=True"};
    Tool::EntryText entry = Tool::parseEntry(data.cast<std::string>(), how);
    auto bytes = Tool::fitEntry(t, entry, how, true);
    for (const auto& note : entry.notes)
      if (PyErr_WarnEx(PyExc_UserWarning, note.c_str(), 2) < 0) throw py::error_already_set();
    return bytes;
  }
  if (words) {
    if (PyObject_CheckBuffer(data.ptr()) || !py::isinstance<py::sequence>(data))
      throw py::type_error(std::string("with words=True, data must be text or a sequence of "
                                       "ints, not ") +
                           Py_TYPE(data.ptr())->tp_name);
    const auto list = data.cast<py::sequence>();
    Tool::checkLength(t, list.size(), "data", true, unit);
    std::vector<U8> bytes;
    for (std::size_t i = 0; i < list.size(); ++i) {
      const std::string text = intText(list[i], "word " + std::to_string(i));
      const U64 max = 0xffffffffull;
      const U32 word =
          static_cast<U32>(Tool::parseNumber(text, "word " + std::to_string(i) + " of data", max));
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

Target openAccessor(const std::string& cls, const py::object& chip, const py::object& variant,
                    const py::object& data, bool words = false) {
  const std::string name = Tool::parseClass(cls, "tessel_counters.classes(chip)");
  const Hardware::ChipType c = chipOf(chip);
  const std::string text = variant.is_none() ? "" : intText(variant, "variant");
  Target t = Tool::openTarget(name, c, variant.is_none() ? nullptr : &text, "variant", nullptr);
  if (!data.is_none()) Tool::loadBuffer(t, entryOf(t, data, words));
  return t;
}

Field fieldOf(const Target& t, const std::string& name) {
  try {
    return Tool::findField(t, name);
  } catch (const Tool::UsageError& e) {
    PyErr_SetString(fieldError, e.message.c_str());
    throw py::error_already_set();
  }
}

py::int_ readValue(const Target& t, const Field& f) {
  const std::string hex = Tool::hexValue(Tool::readField(*t.object, f), f.width);
  return py::reinterpret_steal<py::int_>(PyLong_FromString(hex.c_str(), nullptr, 16));
}

void writeValue(Target& t, const Field& f, const py::object& value) {
  const std::string text = intText(value, "the value of " + f.name);
  if (text[0] == '-')
    throw py::value_error("value " + text + " for " + f.name + " is negative; fields are unsigned");
  Tool::writeField(t, f, Tool::parseFieldValue(text, f.width, f.name + " on " + t.where()));
}

void setField(Target& t, const std::string& name, const py::object& value) {
  writeValue(t, fieldOf(t, name), value);
}

py::bytes entry(const Target& t) {
  return {reinterpret_cast<const char*>(t.object->buf()), t.entryBytes()};
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

py::object describe(const Target& t) {
  std::ostringstream text;
  Tool::describeJson(t, text);
  return py::module_::import("json").attr("loads")(text.str());
}

// An index as the user gave it; a negative or huge one is out of every range.
U32 indexOf(const Target& t, Tool::Index which, const py::object& value, const char* what) {
  const std::string text = intText(value, what);
  U64 v = std::numeric_limits<U64>::max();
  if (text[0] != '-' && text.size() <= 19) v = std::stoull(text);
  return Tool::checkIndex(t, which, v, what + (" " + text));
}

py::dict address(const Target& t, const py::object& instance, const py::object& entry,
                 const py::object& array) {
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

py::dict classes(const py::object& chip) {
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
py::list locate(const py::object& chip, const py::object& block, const py::object& address,
                const py::object& subBlock) {
  const std::string chipText = py::isinstance<py::str>(chip) ? chip.cast<std::string>()
                                                             : intText(chip, "chip");
  const std::string subBlockText = subBlock.is_none() ? "" : intText(subBlock, "sub_block");
  const std::string addressText = intText(address, "address");
  const auto q = Tool::parseLocate(chipText, intText(block, "block"), &addressText,
                                   subBlock.is_none() ? nullptr : &subBlockText);
  py::list out;
  for (const auto& l : q.run())
    out.append(py::dict(py::arg("class") = l.cls, py::arg("variants") = l.variants,
                        py::arg("instance") = l.instance, py::arg("subBlock") = l.subBlock,
                        py::arg("arrayElement") = l.arrayElement,
                        py::arg("tableEntry") = l.tableEntry));
  return out;
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

}  // namespace

PYBIND11_MODULE(tessel_counters, m) {
  m.doc() =
      "Hardware metainfo of the counter registers and memories of a family of switch chips:\n"
      "field layouts, S-channel addresses and packing of field values in an entry's bytes.";
  const py::tuple bases =
      py::make_tuple(py::handle(PyExc_KeyError), py::handle(PyExc_AttributeError));
  fieldError = PyErr_NewException("tessel_counters.FieldError", bases.ptr(), nullptr);
  m.add_object("FieldError", py::handle(fieldError));
  py::register_exception_translator([](std::exception_ptr p) {
    try {
      if (p) std::rethrow_exception(std::move(p));
    } catch (const Tool::UsageError& e) {
      PyErr_SetString(errorType(e.kind), e.message.c_str());
    }
  });

  const auto none = py::none();
  py::class_<Target>(m, "Accessor", py::buffer_protocol(),
                     "One register or memory entry on a chip and variant, over bytes of its own.\n"
                     "Fields read and write as attributes (r.engineNMode) or by accessor or\n"
                     "hardware name (r['ENGINE_N_MODE']); bytes(r) and memoryview(r) are the "
                     "entry's bytes, byte 0 first.")
      .def_buffer([](Target& t) { return py::buffer_info(t.object->buf(), t.entryBytes()); })
      .def_property_readonly("class_name", [](const Target& t) { return t.cls; })
      .def_property_readonly("chip", [](const Target& t) { return Tool::chipName(t.chip); })
      .def_property_readonly("variant", [](const Target& t) { return unsigned{t.variant}; })
      .def_property_readonly("kind", [](const Target& t) { return Tool::kindOf(*t.object); })
      .def("__getattr__",
           [](const Target& t, const std::string& n) { return readValue(t, fieldOf(t, n)); })
      .def("__getitem__",
           [](const Target& t, const std::string& n) { return readValue(t, fieldOf(t, n)); })
      .def("__setattr__", &setField)
      .def("__setitem__", &setField)
      .def("__bytes__", &entry)
      .def("__len__", [](const Target& t) { return t.entryBytes(); })
      .def("__dir__",
           [](const py::object& self) {
             py::list names = py::module_::import("builtins").attr("object").attr("__dir__")(self);
             for (const auto& f : Tool::fieldsOf(self.cast<const Target&>()))
               names.append(f.name);
             return names;
           })
      .def("__repr__",
           [](const Target& t) {
             return "<" + t.cls + " on " + t.where() + ": " +
                    Tool::hexBytes(t.object->buf(), t.entryBytes()) + ">";
           })
      .def("fields", &fields, "Every field valid on this chip and variant: accessor name -> value.")
      .def("words", &words, "The entry's 32-bit words, word 0 (bits 0..31) first, as ints.")
      .def("layout", &layout,
           "Every field valid here: accessor name -> hardwareName, id, offset, width (bits) and\n"
           "viewOf, the narrowest field whose bits hold all of this one's (None if none).")
      .def(
          "hex", [](const Target& t, const py::args& sep) { return entry(t).attr("hex")(*sep); },
          "The entry's bytes in hex, byte 0 first, as bytes.hex().")
      .def("describe", &describe,
           "Geometry, instances and fields, as tessel-counters describe --json.")
      .def("address", &address, py::arg("instance") = 0, py::arg("entry") = 0, py::arg("array") = 0,
           "S-channel address, subBlock and block of an instance, table entry and array element.");

  m.def("chips", &chips, "The chip models: name -> number.");
  m.def("classes", &classes, py::arg("chip") = none,
        "The classes (on one chip, by name or number): name -> kind ('register' or 'memory')\n"
        "and variants, a dict chip name -> list of variants.");
  m.def("open", &openAccessor, py::arg("class_name"), py::arg("chip"), py::arg("variant") = none,
        py::arg("data") = none, py::kw_only(), py::arg("words") = false,
        "An accessor of the class on the chip (name or number) and variant (default: the class's\n"
        "first on the chip) over zero bytes or a copy of data, the entry's size: bytes-like, or\n"
        "text in the tool's form (bytes in buffer order; with words=True, 32-bit words, word 0\n"
        "first, as a register read prints them; on many lines, with # comments), or with\n"
        "words=True a list of ints.");
  m.def(
      "decode",
      [](const std::string& cls, const py::object& chip, const py::object& data,
         const py::object& variant,
         bool words) { return fields(openAccessor(cls, chip, variant, data, words)); },
      py::arg("class_name"), py::arg("chip"), py::arg("data"), py::arg("variant") = none,
      py::kw_only(), py::arg("words") = false,
      "Every field of the entry in data (as open takes it): accessor name -> value.");
  m.def(
      "encode",
      [](const std::string& cls, const py::object& chip, const py::object& variant,
         const py::kwargs& values) {
        Target t = openAccessor(cls, chip, variant, py::none());
        std::vector<Field> given;
        for (const auto& [name, value] : values) {
          const Field f = fieldOf(t, name.cast<std::string>());
          Tool::checkDistinct(given, f);
          given.push_back(f);
          writeValue(t, f, py::reinterpret_borrow<py::object>(value));
        }
        return entry(t);
      },
      py::arg("class_name"), py::arg("chip"), py::arg("variant") = none,
      "The entry's bytes with the fields given by accessor or hardware name, the rest zero.");
  m.def(
      "describe",
      [](const std::string& cls, const py::object& chip, const py::object& variant) {
        return describe(openAccessor(cls, chip, variant, py::none()));
      },
      py::arg("class_name"), py::arg("chip"), py::arg("variant") = none,
      "Geometry, instances and fields, as tessel-counters describe --json.");
  m.def(
      "address",
      [](const std::string& cls, const py::object& chip, const py::object& variant,
         const py::object& instance, const py::object& entry, const py::object& array) {
        return address(openAccessor(cls, chip, variant, py::none()), instance, entry, array);
      },
      py::arg("class_name"), py::arg("chip"), py::arg("variant") = none, py::arg("instance") = 0,
      py::arg("entry") = 0, py::arg("array") = 0,
      "S-channel address, subBlock and block, as tessel-counters address.");
  m.def("locate", &locate, py::arg("chip"), py::arg("block"), py::arg("address"),
        py::arg("sub_block") = none,
        "What lies at an S-channel address of the chip (name or number): a list of dicts with\n"
        "'class', 'variants', 'instance', 'subBlock', 'arrayElement' and 'tableEntry', as\n"
        "tessel-counters locate --json lists them; empty where nothing of the catalogue lies.");
}
