#include "Commands.h"

#include <algorithm>
#include <cstdio>
#include <iostream>

#include "Model.h"
#include "ModelJson.h"

namespace Tool {

namespace {

void noExtraPositionals(const Args& a, std::size_t allowed, const std::string& what) {
  if (a.positional.size() > allowed)
    fail("unexpected argument '" + a.positional[allowed] + "'; " + what);
}

// The entry's bytes: HEX in buffer order, at most the entry's size; shorter
// input is completed with zero bytes, which a note on stderr says.
std::vector<U8> entryBytes(const Target& t, const std::vector<std::string>& tokens,
                           const std::string& what) {
  auto bytes = parseHexBytes(tokens, what);
  const unsigned size = t.entryBytes();
  checkLength(t, bytes.size(), what, false);
  if (bytes.size() < size)
    std::cerr << "note: " << what << " has " << bytes.size() << " of " << size << " bytes; bytes "
              << bytes.size() << ".." << size - 1 << " are taken as 00\n";
  bytes.resize(size, 0);
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

int cmdDecode(const Args& a) {
  if (a.positional.size() < 2)
    fail("decode takes a class name and HEX, the entry's bytes, byte 0 first");
  Target t = resolveTarget(a);
  const std::vector<std::string> tokens(a.positional.begin() + 1, a.positional.end());
  const auto bytes = entryBytes(t, tokens, "HEX");
  loadBuffer(t, bytes);
  const auto& o = *t.object;
  const auto fields = fieldsOf(t);
  const auto views = viewsOf(fields);
  const Raw8192 mask = o.allFieldsMask();
  const auto stray = strayBits(bytes.data(), mask.data(), 8u * t.entryBytes());

  std::vector<std::vector<U8>> values;
  for (const auto& f : fields) values.push_back(readField(o, f));

  if (a.has("--json")) {
    Json j = targetJson(t);
    j["bytes"] = hexBytes(bytes.data(), bytes.size());
    Json& rows = j["fields"] = Json::array();
    for (std::size_t i = 0; i < fields.size(); ++i) {
      const auto& f = fields[i];
      Json row = fieldJson(f);
      row["bits"] = rangeText(f.offset, f.offset + f.width - 1u);
      row["hex"] = hexValue(values[i], f.width);
      row["decimal"] = decimalValue(values[i]);
      addViewKeys(row, fields, views[i]);
      rows.push_back(std::move(row));
    }
    Json& strays = j["strayBits"] = Json::array();
    for (const auto& [lo, hi] : stray) strays.push_back({{"first", lo}, {"last", hi}});
    printJson(std::cout, j);
    return 0;
  }

  std::printf("%s on %s variant %u: %s of %u word%s (%u bytes)\n", t.cls.c_str(),
              chipName(t.chip).c_str(), static_cast<unsigned>(t.variant), kindOf(o).c_str(),
              o.width(), o.width() == 1 ? "" : "s", t.entryBytes());
  std::printf("bytes %s\n", hexBytes(bytes.data(), bytes.size()).c_str());
  std::size_t nameWidth = 5, hardwareWidth = 13, hexWidth = 3;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    nameWidth =
        std::max(nameWidth, 2 * static_cast<std::size_t>(views[i].depth) + fields[i].name.size());
    hardwareWidth = std::max(hardwareWidth, fields[i].hardwareName.size());
    hexWidth = std::max(hexWidth, hexValue(values[i], fields[i].width).size());
  }
  std::printf("\n%-10s %5s  %-*s  %-*s  %-*s  %s\n", "bits", "width", static_cast<int>(nameWidth),
              "field", static_cast<int>(hardwareWidth), "hardware name", static_cast<int>(hexWidth),
              "hex", "decimal");
  bool anyView = false;
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const auto& f = fields[i];
    const std::string name =
        std::string(2 * static_cast<std::size_t>(views[i].depth), ' ') + f.name;
    std::string note;
    for (int c : views[i].crosses)
      note += (note.empty() ? "  overlaps " : ", ") + fields[static_cast<std::size_t>(c)].name;
    anyView = anyView || views[i].parent >= 0 || !note.empty();
    std::printf("%-10s %5u  %-*s  %-*s  %-*s  %s%s\n",
                rangeText(f.offset, f.offset + f.width - 1u).c_str(), f.width,
                static_cast<int>(nameWidth), name.c_str(), static_cast<int>(hardwareWidth),
                f.hardwareName.c_str(), static_cast<int>(hexWidth),
                hexValue(values[i], f.width).c_str(), decimalValue(values[i]).c_str(),
                note.c_str());
  }
  if (fields.empty()) std::printf("(no fields on this chip and variant)\n");
  if (anyView) std::printf("\nindented fields are views of bits of the field above them\n");
  if (!stray.empty()) {
    std::string list;
    for (const auto& [lo, hi] : stray) list += (list.empty() ? "" : ", ") + rangeText(lo, hi);
    std::printf("\nset bits outside every field: %s\n", list.c_str());
  }
  return 0;
}

// ---------------------------------------------------------------------------

int cmdEncode(const Args& a) {
  if (a.positional.size() < 2) fail("encode takes a class name and at least one FIELD=VALUE");
  Target t = resolveTarget(a);
  std::vector<U8> start(t.entryBytes(), 0);
  if (const std::string* from = a.get("--from")) start = entryBytes(t, {*from}, "--from");
  loadBuffer(t, start);

  std::vector<Field> given;
  for (std::size_t i = 1; i < a.positional.size(); ++i) {
    const std::string& arg = a.positional[i];
    const auto eq = arg.find('=');
    if (eq == std::string::npos || eq == 0)
      fail("expected FIELD=VALUE, not '" + arg + "', e.g. engineNMode=5 or ENGINE_N_MODE=0x5");
    const Field f = findField(t, arg.substr(0, eq));
    checkDistinct(given, f);
    given.push_back(f);
    const bool raw = isRawField(t.cls, f.id);
    const auto value =
        parseFieldValue(arg.substr(eq + 1), f.width, raw, f.name + " on " + t.where());
    writeField(t, f, value);
  }
  std::printf("%s\n", hexBytes(t.object->buf(), t.entryBytes()).c_str());
  return 0;
}

// ---------------------------------------------------------------------------

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
    for (U16 id = 0; id < instances; ++id) {
      for (U32 e = 0; e < elements; ++e) {
        U32 first = 0, last = 0, subBlock = 0, block = 0;
        o.getSchanAddress(first, subBlock, block, id, 0, static_cast<U16>(e));
        o.getSchanAddress(last, subBlock, block, id, entries - 1, static_cast<U16>(e));
        char hexFirst[16], hexLast[16];
        std::snprintf(hexFirst, sizeof hexFirst, "0x%x", first);
        std::snprintf(hexLast, sizeof hexLast, "0x%x", last);
        rows.push_back({std::to_string(id), std::to_string(e)});
        if (memory) rows.back().push_back(rangeText(0, entries - 1));
        rows.back().push_back(rangeText(first, last));
        rows.back().push_back(first == last ? hexFirst : std::string(hexFirst) + ".." + hexLast);
        rows.back().push_back(std::to_string(subBlock));
        rows.back().push_back(std::to_string(block));
      }
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
