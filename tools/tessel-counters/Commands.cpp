#include "Commands.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

#include "Entry.h"
#include "Model.h"
#include "ModelJson.h"

namespace Tool {

namespace {

void noExtraPositionals(const Args& a, std::size_t allowed, const std::string& what) {
  if (a.positional.size() > allowed)
    fail("unexpected argument " + quoted(a.positional[allowed]) + "; " + what);
}

// How the command line gives an entry: bytes, or words with --words.
EntryReader readerOf(const Args& a, const std::string& what) {
  return {a.has("--words") ? EntryForm::Words : EntryForm::Bytes, what, "give --words"};
}

// The entry's bytes from the text an argument stands for (itself, @FILE or
// - for standard input): at most the entry's size; what was read as it might
// not have been meant, and shorter input completed with zeros, are told in a
// note on stderr.
std::vector<U8> entryBytes(const Target& t, const std::string& argument, const EntryReader& how) {
  EntryText entry = parseEntry(inputText(argument), how);
  auto bytes = fitEntry(t, entry, how, false);
  for (const auto& note : entry.notes) std::cerr << "note: " << note << "\n";
  return bytes;
}

// Left-aligned columns, two blanks apart; the first row is the heading.
void printTable(const std::vector<std::vector<std::string>>& rows) {
  std::vector<std::size_t> widths;
  for (const auto& r : rows)
    for (std::size_t c = 0; c < r.size(); ++c) {
      if (widths.size() <= c) widths.push_back(0);
      widths[c] = std::max(widths[c], r[c].size());
    }
  for (const auto& r : rows) {
    std::string line;
    for (std::size_t c = 0; c < r.size(); ++c)
      line += c + 1 < r.size() ? r[c] + std::string(widths[c] - r[c].size() + 2, ' ') : r[c];
    std::printf("%s\n", line.c_str());
  }
}

// The JSON object of a class on a chip and variant with the keys that
// describe and decode share.
Json targetJson(const Target& t) {
  return {{"class", t.cls},
          {"chip", chipName(t.chip)},
          {"chipNumber", static_cast<unsigned>(t.chip)},
          {"variant", t.variant},
          {"kind", kindOf(*t.object)},
          {"widthWords", t.object->width()}};
}

}  // namespace

// ---------------------------------------------------------------------------

int cmdChips(const Args& a) {
  noExtraPositionals(a, 0, "chips takes no arguments");
  for (auto chip : knownChips())
    std::cout << static_cast<unsigned>(chip) << "  " << chipName(chip) << "\n";
  return 0;
}

namespace {

// Every class with its kind and where it exists: "on all 13 chips, variants
// 0-31", or the chips each with its variants where any has more than 0.
int listClasses() {
  const auto chips = knownChips();
  for (const auto& cls : classNames()) {
    const auto on = chipsOf(cls);
    std::vector<std::string> variants;
    for (auto chip : on) variants.push_back(variantText(variantsOf(cls, chip)));
    const bool alike = std::all_of(variants.begin(), variants.end(),
                                   [&](const std::string& v) { return v == variants[0]; });
    std::string where;
    if (alike && on.size() == chips.size()) {
      where = "on all " + std::to_string(chips.size()) + " chips";
      if (variants[0] != "0") where += ", variants " + variants[0];
    } else {
      for (std::size_t i = 0; i < on.size(); ++i)
        where += (i ? ", " : "on ") + chipName(on[i]) +
                 (alike && variants[0] == "0" ? "" : " v" + variants[i]);
    }
    std::printf("%-50s %-8s %s\n", cls.c_str(), kindName(classOf(cls).kind), where.c_str());
  }
  std::printf("%zu classes on %zu chips\n", classNames().size(), chips.size());
  return 0;
}

}  // namespace

int cmdClasses(const Args& a) {
  noExtraPositionals(a, 0, "classes takes no arguments besides --chip");
  const std::string* chipText = a.get("--chip");
  if (!chipText) return listClasses();
  const auto chip = parseChip(*chipText);
  std::size_t count = 0;
  for (const auto& cls : classNames()) {
    const auto variants = variantsOf(cls, chip);
    if (variants.empty()) continue;
    ++count;
    std::printf("%-50s %-8s variants %s\n", cls.c_str(), kindName(classOf(cls).kind),
                variantText(variants).c_str());
  }
  std::printf("%zu classes on %s\n", count, chipName(chip).c_str());
  return 0;
}

void describeJson(const Target& t, std::ostream& out) {
  const Layout l = layoutOf(t.cls, *t.object);
  Json j = {{"class", t.cls}, {"kind", kindOf(*t.object)}};
  j.update(geometryJson(l));
  // A register has no table: describe leaves out the keys of memories.
  if (!t.object->isTable()) {
    j.erase("entries");
    j.erase("tableVariantCount");
  }
  j["classBufferBytes"] = t.object->len();
  Json& fields = j["fields"] = Json::array();
  for (const auto& f : l.fields) fields.push_back(fieldJson(f));
  printJson(out, j);
}

int cmdDescribe(const Args& a) {
  noExtraPositionals(a, 1, "describe takes one class name");
  const Target t = resolveTarget(a);

  if (a.has("--json")) {
    describeJson(t, std::cout);
    return 0;
  }

  const auto& o = *t.object;
  const auto& cls = classOf(t.cls);
  const bool memory = o.isTable();
  const auto spans = instancesOf(o);
  const auto fields = fieldsOf(t);
  std::printf("%s on %s (%u) variant %u: %s\n", t.cls.c_str(), chipName(t.chip).c_str(),
              static_cast<unsigned>(t.chip), static_cast<unsigned>(t.variant), cls.summary);
  std::printf("  kind            %s in %s\n", kindOf(o).c_str(), cls.subsystem);
  const auto chips = chipsOf(t.cls);
  std::printf("  chips           %s\n", chips.size() == knownChips().size()
                                             ? ("all " + std::to_string(chips.size())).c_str()
                                             : chipsOfClass(t.cls).c_str());
  if (*cls.variants)
    std::printf("  variants        %s; on %s: %s\n", cls.variants, chipName(t.chip).c_str(),
                variantText(variantsOf(t.cls, t.chip)).c_str());
  std::printf("  width           %u word%s (%u bytes); buffer of the class %u bytes\n", o.width(),
              o.width() == 1 ? "" : "s", t.entryBytes(), o.len());
  if (memory) std::printf("  entries         %u\n", o.entries());
  std::printf("  arrayElements   %u\n", o.arrayElements());
  if (memory) std::printf("  variants here   %u\n", o.tableVariantCount());
  std::printf("  instanceCount   %u\n", o.instanceCount());
  std::printf("  fieldCount      %u\n", o.fieldCount());
  for (const auto& s : spans)
    std::printf("  instance %-2u     subBlock %u, block %u, address %s\n", s.identifier, s.subBlock,
                s.block, addressText(s.firstAddress, s.lastAddress).c_str());
  std::size_t nameWidth = 4, hardwareWidth = 13;
  for (const auto& f : fields) {
    nameWidth = std::max(nameWidth, f.name.size());
    hardwareWidth = std::max(hardwareWidth, f.hardwareName.size());
  }
  const int nw = static_cast<int>(nameWidth), hw = static_cast<int>(hardwareWidth);
  std::printf("  fields          %-*s  %-*s %6s %7s %6s\n", nw, "name", hw, "hardware name", "id",
              "offset", "width");
  for (const auto& f : fields)
    std::printf("                  %-*s  %-*s %6u %7u %6u\n", nw, f.name.c_str(), hw,
                f.hardwareName.c_str(), f.id, f.offset, f.width);
  return 0;
}

// ---------------------------------------------------------------------------

Decoder decoderOf(const Target& target) {
  Decoder d{target, fieldsOf(target), {}, {}};
  d.views = viewsOf(d.fields);
  const Raw8192 mask = target.object->allFieldsMask();
  d.mask.assign(mask.begin(), mask.begin() + target.entryBytes());
  return d;
}

Decoded decodeEntry(Decoder& d, const std::vector<U8>& bytes) {
  loadBuffer(d.target, bytes);
  Decoded e;
  for (const auto& f : d.fields) e.values.push_back(readField(*d.target.object, f));
  e.stray = strayBits(bytes.data(), d.mask.data(), 8u * d.target.entryBytes());
  return e;
}

void addDecodedKeys(Json& j, const Decoder& d, const Decoded& e) {
  Json& rows = j["fields"] = Json::array();
  for (std::size_t i = 0; i < d.fields.size(); ++i) {
    const auto& f = d.fields[i];
    Json row = fieldJson(f);
    row["bits"] = rangeText(f.offset, f.offset + f.width - 1u);
    row["hex"] = "";
    row["decimal"] = "";
    addViewKeys(row, d.fields, d.views[i]);
    rows.push_back(std::move(row));
  }
  j["strayBits"] = Json::array();
  setDecodedValues(j, d, e);
}

void setDecodedValues(Json& j, const Decoder& d, const Decoded& e) {
  Json& rows = j["fields"];
  for (std::size_t i = 0; i < d.fields.size(); ++i) {
    rows[i]["hex"].get_ref<std::string&>() = hexValue(e.values[i], d.fields[i].width);
    rows[i]["decimal"].get_ref<std::string&>() = decimalValue(e.values[i]);
  }
  Json& strays = j["strayBits"];
  if (!strays.empty() || !e.stray.empty()) strays = strayBitsJson(e.stray);
}

Json strayBitsJson(const std::vector<std::pair<unsigned, unsigned>>& stray) {
  Json out = Json::array();
  for (const auto& [lo, hi] : stray) {
    // Key by key: an initializer list copies every value once more.
    Json& range = out.emplace_back(objectWithRoom(2));
    range["first"] = lo;
    range["last"] = hi;
  }
  return out;
}

std::vector<std::string> fieldRows(const Decoder& d, const Decoded& e) {
  const auto& fields = d.fields;
  std::size_t nameWidth = 5, hardwareWidth = 13, hexWidth = 3;
  std::vector<std::string> hex;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    hex.push_back(hexValue(e.values[i], fields[i].width));
    nameWidth =
        std::max(nameWidth, 2 * static_cast<std::size_t>(d.views[i].depth) + fields[i].name.size());
    hardwareWidth = std::max(hardwareWidth, fields[i].hardwareName.size());
    hexWidth = std::max(hexWidth, hex.back().size());
  }
  const auto pad = [](const std::string& text, std::size_t width) {
    return text + std::string(width - text.size() + 2, ' ');
  };
  const auto row = [&](const std::string& bits, const std::string& width, const std::string& name,
                       const std::string& hardware, const std::string& hexText,
                       const std::string& rest) {
    char line[64];
    std::snprintf(line, sizeof line, "%-10s %5s  ", bits.c_str(), width.c_str());
    return line + pad(name, nameWidth) + pad(hardware, hardwareWidth) + pad(hexText, hexWidth) +
           rest;
  };
  std::vector<std::string> out{row("bits", "width", "field", "hardware name", "hex", "decimal")};
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const auto& f = fields[i];
    std::string note;
    for (int c : d.views[i].crosses)
      note += (note.empty() ? "  overlaps " : ", ") + fields[static_cast<std::size_t>(c)].name;
    out.push_back(row(rangeText(f.offset, f.offset + f.width - 1u), std::to_string(f.width),
                      std::string(2 * static_cast<std::size_t>(d.views[i].depth), ' ') + f.name,
                      f.hardwareName, hex[i], decimalValue(e.values[i]) + note));
  }
  return out;
}

std::vector<std::string> afterRows(const Decoder& d, const Decoded& e) {
  std::vector<std::string> out;
  if (d.fields.empty()) out.push_back("(no fields on this chip and variant)");
  const bool anyView = std::any_of(d.views.begin(), d.views.end(), [](const FieldView& v) {
    return v.parent >= 0 || !v.crosses.empty();
  });
  if (anyView) out.push_back("indented fields are views of bits of the field above them");
  if (!e.stray.empty()) {
    std::string list;
    for (const auto& [lo, hi] : e.stray) list += (list.empty() ? "" : ", ") + rangeText(lo, hi);
    out.push_back("set bits outside every field: " + list);
  }
  return out;
}

Json decodeJson(const Target& t, const std::vector<U8>& bytes) {
  Decoder d = decoderOf(t);
  Json j = targetJson(t);
  j["bytes"] = hexBytes(bytes.data(), bytes.size());
  j["words"] = hexWords(bytes.data(), bytes.size());
  addDecodedKeys(j, d, decodeEntry(d, bytes));
  return j;
}

int cmdDecode(const Args& a) {
  if (a.positional.size() < 2)
    fail(
        "decode takes a class name and HEX, the entry's bytes, byte 0 first (or its words, "
        "with --words; @FILE or - reads them from a file or standard input)");
  const Target t = resolveTarget(a);
  std::string text;
  for (std::size_t i = 1; i < a.positional.size(); ++i)
    text += (i > 1 ? " " : "") + a.positional[i];
  const auto bytes =
      entryBytes(t, a.positional.size() == 2 ? a.positional[1] : text, readerOf(a, "HEX"));
  if (a.has("--json")) {
    printJson(std::cout, decodeJson(t, bytes));
    return 0;
  }
  Decoder d = decoderOf(t);
  const Decoded e = decodeEntry(d, bytes);
  const auto& o = *t.object;

  std::printf("%s on %s variant %u: %s of %u word%s (%u bytes)\n", t.cls.c_str(),
              chipName(t.chip).c_str(), static_cast<unsigned>(t.variant), kindOf(o).c_str(),
              o.width(), o.width() == 1 ? "" : "s", t.entryBytes());
  std::printf("bytes %s\n", hexBytes(bytes.data(), bytes.size()).c_str());
  if (a.has("--words")) std::printf("words %s\n", hexWords(bytes.data(), bytes.size()).c_str());
  std::printf("\n");
  for (const auto& row : fieldRows(d, e)) std::printf("%s\n", row.c_str());
  for (const auto& line : afterRows(d, e)) {
    // "(no fields ...)" stands under the heading; the other lines stand apart.
    std::printf("%s%s\n", line[0] == '(' ? "" : "\n", line.c_str());
  }
  return 0;
}

// ---------------------------------------------------------------------------

int cmdEncode(const Args& a) {
  if (a.positional.size() < 2 && !a.has("--from"))
    fail("encode takes a class name and at least one FIELD=VALUE, or --from alone");
  Target t = resolveTarget(a);
  std::vector<U8> start(t.entryBytes(), 0);
  if (const std::string* from = a.get("--from"))
    start = entryBytes(t, *from, readerOf(a, "--from"));
  loadBuffer(t, start);

  std::vector<Field> given;
  for (std::size_t i = 1; i < a.positional.size(); ++i) {
    const std::string& arg = a.positional[i];
    const auto eq = arg.find('=');
    if (eq == std::string::npos || eq == 0)
      fail("expected FIELD=VALUE, not " + quoted(arg) +
           ", e.g. engineNMode=5 or ENGINE_N_MODE=0x5");
    const Field f = findField(t, arg.substr(0, eq));
    checkDistinct(given, f);
    given.push_back(f);
    writeField(t, f, parseFieldValue(arg.substr(eq + 1), f.width, f.name + " on " + t.where()));
  }
  // In the form it was given in, so that it goes back to decode or --from as it is.
  const auto print = a.has("--words") ? hexWords : hexBytes;
  std::printf("%s\n", print(t.object->buf(), t.entryBytes()).c_str());
  return 0;
}

// ---------------------------------------------------------------------------

std::vector<AddressRow> addressRows(const Orrery::AsicBase& o) {
  const U32 instances = indexCount(o, Index::Instance);
  const U32 elements = indexCount(o, Index::Element);
  const U32 entries = indexCount(o, Index::Entry);
  std::vector<AddressRow> rows;
  for (U16 id = 0; id < instances; ++id) {
    for (U32 e = 0; e < elements; ++e) {
      AddressRow r{id, e, 0, 0, 0, 0};
      o.getSchanAddress(r.first, r.subBlock, r.block, id, 0, static_cast<U16>(e));
      o.getSchanAddress(r.last, r.subBlock, r.block, id, entries - 1, static_cast<U16>(e));
      rows.push_back(r);
    }
  }
  return rows;
}

int cmdAddress(const Args& a) {
  noExtraPositionals(a, 1, "address takes one class name");
  const Target t = resolveTarget(a);
  const auto& o = *t.object;
  const bool memory = o.isTable();
  const U32 instances = indexCount(o, Index::Instance);
  const U32 elements = indexCount(o, Index::Element);
  const U32 entries = indexCount(o, Index::Entry);

  if (a.has("--all")) {
    for (const char* opt : {"--instance", "--entry", "--array"})
      if (a.has(opt)) fail(std::string("--all lists every instance and element; drop ") + opt);
    std::printf("%s on %s variant %u: %u instance%s, %u array element%s", t.cls.c_str(),
                chipName(t.chip).c_str(), static_cast<unsigned>(t.variant), instances,
                instances == 1 ? "" : "s", elements, elements == 1 ? "" : "s");
    if (memory) std::printf(", %u entries each", entries);
    std::printf("\n");
    std::vector<std::vector<std::string>> rows;
    rows.push_back({"instance", "array"});
    if (memory) rows.back().push_back("entries");
    for (const char* h : {"address", "hex", "subBlock", "block"}) rows.back().push_back(h);
    for (const auto& r : addressRows(o)) {
      char hexFirst[16], hexLast[16];
      std::snprintf(hexFirst, sizeof hexFirst, "0x%x", r.first);
      std::snprintf(hexLast, sizeof hexLast, "0x%x", r.last);
      rows.push_back({std::to_string(r.instance), std::to_string(r.element)});
      if (memory) rows.back().push_back(rangeText(0, entries - 1));
      rows.back().push_back(rangeText(r.first, r.last));
      rows.back().push_back(r.first == r.last ? hexFirst : std::string(hexFirst) + ".." + hexLast);
      rows.back().push_back(std::to_string(r.subBlock));
      rows.back().push_back(std::to_string(r.block));
    }
    printTable(rows);
    return 0;
  }

  const auto pick = [&](const char* opt, Index which) -> U32 {
    const std::string* text = a.get(opt);
    if (!text) return 0;
    return checkIndex(t, which, parseNumber(*text, opt, 0xffffffffull),
                      std::string(opt) + " " + *text);
  };
  const U32 id = pick("--instance", Index::Instance);
  if (!memory && a.has("--entry") && parseNumber(*a.get("--entry"), "--entry", 0xffffffffull) != 0)
    fail(t.cls + " is a register and has no table entries; --entry applies to memories only");
  const U32 entry = pick("--entry", Index::Entry);
  const U32 element = pick("--array", Index::Element);
  const SchanAddress at = schanAddress(o, id, entry, element);
  std::printf("%s on %s variant %u, instance %u", t.cls.c_str(), chipName(t.chip).c_str(),
              static_cast<unsigned>(t.variant), id);
  if (memory) std::printf(", entry %u", entry);
  std::printf(", array %u\n", element);
  std::printf("address   %u (0x%x)\nsubBlock  %u\nblock     %u\n", at.address, at.address,
              at.subBlock, at.block);
  return 0;
}

}  // namespace Tool
