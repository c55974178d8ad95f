// export: the catalogue for other tools, as JSON (format described by
// catalogue.schema.json) or as a C header of one chip's constants.
#include <cctype>
#include <cstdio>
#include <iostream>

#include "Catalog.h"
#include "Commands.h"
#include "Model.h"
#include "ModelJson.h"

namespace Tool {

namespace {

constexpr unsigned kFormatVersion = 1;

Json layoutJson(const Layout& l) {
  Json j = geometryJson(l);
  Json& fields = j["fields"] = Json::array();
  for (std::size_t i = 0; i < l.fields.size(); ++i) {
    Json f = fieldJson(l.fields[i]);
    addViewKeys(f, l.fields, l.views[i]);
    fields.push_back(std::move(f));
  }
  return j;
}

Json classJson(const ClassModel& c) {
  Json chips = Json::array();
  for (auto chip : knownChips()) {
    const auto variants = c.variantsOn(chip);
    if (!variants.empty()) chips.push_back({{"chip", chipName(chip)}, {"variants", variants}});
  }
  Json layouts = Json::array();
  for (const auto& l : c.layouts) layouts.push_back(layoutJson(l));
  return {{"name", c.name},
          {"kind", c.memory ? "memory" : "register"},
          {"chips", std::move(chips)},
          {"layouts", std::move(layouts)}};
}

void exportJson(const std::vector<Hardware::ChipType>& chips) {
  Json list = Json::array();
  for (auto chip : chips.empty() ? knownChips() : chips)
    list.push_back({{"name", chipName(chip)}, {"number", static_cast<unsigned>(chip)}});
  Json classes = Json::array();
  for (const auto& c : catalogueModel(chips)) classes.push_back(classJson(c));
  printJson(std::cout, {{"format", "tessel-counters-catalogue"},
                        {"version", kFormatVersion},
                        {"chips", std::move(list)},
                        {"classes", std::move(classes)}});
}

// "CrpsModulesrcCfg" -> "CRPS_MODULESRC_CFG"
std::string upperSnake(const std::string& name) {
  std::string out;
  for (std::size_t i = 0; i < name.size(); ++i) {
    const auto c = static_cast<unsigned char>(name[i]);
    if (i && std::isupper(c) && !std::isupper(static_cast<unsigned char>(name[i - 1]))) out += '_';
    out += static_cast<char>(std::toupper(c));
  }
  return out;
}

void define(const std::string& name, const std::string& value) {
  std::cout << "#define " << name << " " << value << "\n";
}

std::string u(unsigned long long n) {
  return std::to_string(n) + "u";
}

std::string maskText(unsigned width) {
  char text[24];
  std::snprintf(text, sizeof text, "0x%llxull", width >= 64 ? ~0ull : (1ull << width) - 1);
  return text;
}

void headerLayout(const std::string& cls, bool memory, const Layout& l) {
  std::string p = chipName(l.chip) + "_" + upperSnake(cls);
  if (l.variant) p += "_V" + std::to_string(l.variant);
  std::cout << "\n/* " << cls << ", " << (memory ? "memory" : "register") << ", variant "
            << unsigned(l.variant) << " */\n";
  define(p + "_WIDTH_WORDS", u(l.widthWords));
  define(p + "_ARRAY_ELEMENTS", u(l.arrayElements));
  define(p + "_ELEMENT_STRIDE", u(l.elementStride));
  define(p + "_ENTRIES", u(l.entries));
  define(p + "_INSTANCE_COUNT", u(l.instances.size()));
  define(p + "_ADDRESS", u(l.instances.empty() ? 0 : l.instances[0].firstAddress));
  for (const auto& s : l.instances) {
    const std::string i = p + "_I" + std::to_string(s.identifier);
    define(i + "_SUB_BLOCK", u(s.subBlock));
    define(i + "_BLOCK", u(s.block));
  }
  for (const auto& f : l.fields) {
    define(p + "_" + f.hardwareName + "_OFFSET", u(f.offset));
    define(p + "_" + f.hardwareName + "_WIDTH", u(f.width));
    if (f.width <= 64) define(p + "_" + f.hardwareName + "_MASK", maskText(f.width));
  }
}

void exportCHeader(Hardware::ChipType chip, const std::vector<ClassModel>& model) {
  const std::string name = chipName(chip);
  std::cout << "/* " << name << ": the registers and memories of the counter logic, written by\n"
            << " * 'tessel-counters export --c-header'. Do not edit.\n"
            << " *\n"
            << " * P = " << name << "_<CLASS>[_V<n>]: the class name in capitals, words joined\n"
            << " * by _ (CrpsTypeMapMem: CRPS_TYPE_MAP_MEM), then _V<n> for a variant n > 0.\n"
            << " * P_WIDTH_WORDS: 32-bit words of an entry. Bit k of an entry is bit k % 8 of\n"
            << " * its byte k / 8. P_<FIELD>_OFFSET and P_<FIELD>_WIDTH: the field's bits;\n"
            << " * P_<FIELD>_MASK (fields of at most 64 bits): its value is\n"
            << " * (entry bits >> OFFSET) & MASK. FIELD is the field's hardware name.\n"
            << " * S-channel address of entry t (0 in a register) of array element a, the\n"
            << " * same for every instance: P_ADDRESS + a * P_ELEMENT_STRIDE + t, with\n"
            << " * a < P_ARRAY_ELEMENTS and t < P_ENTRIES. Instance n (n < P_INSTANCE_COUNT)\n"
            << " * is reached through P_I<n>_SUB_BLOCK and P_I<n>_BLOCK. */\n"
            << "#ifndef TESSEL_COUNTERS_" << name << "_H\n"
            << "#define TESSEL_COUNTERS_" << name << "_H\n";
  for (const auto& c : model)
    for (const auto& l : c.layouts) headerLayout(c.name, c.memory, l);
  std::cout << "\n#endif\n";
}

}  // namespace

int cmdExport(const Args& a) {
  if (!a.positional.empty())
    fail("unexpected argument " + quoted(a.positional[0]) + "; export takes options only");
  const bool json = a.has("--json"), header = a.has("--c-header");
  if (json == header) fail("export needs one of --json (the catalogue) or --c-header (one chip)");
  std::vector<Hardware::ChipType> chips;
  if (const std::string* chip = a.get("--chip")) chips.push_back(parseChip(*chip));
  if (json) {
    if (a.has("--class")) fail("--class goes with --c-header; --json exports every class");
    exportJson(chips);
    return 0;
  }
  if (chips.empty()) fail("--c-header needs --chip; known chips: " + chipList());
  if (const std::string* cls = a.get("--class")) {
    const auto m = classModel(parseClass(*cls), chips);
    if (m.layouts.empty())
      fail(m.name + " does not exist on " + chipName(chips[0]) + "; it exists on " +
           chipsOfClass(m.name));
    exportCHeader(chips[0], {m});
  } else {
    exportCHeader(chips[0], catalogueModel(chips));
  }
  return 0;
}

}  // namespace Tool
