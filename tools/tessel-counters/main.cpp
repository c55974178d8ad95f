// tessel-counters: what the library knows about a register or memory, for
// people at a switch. It uses only the library's public API and asks the
// queries that never stop before any that could, so bad input ends in a
// message and exit status 2, never in a fatal check.
#include <TesselCountersOrrery.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace {

constexpr int kUsageError = 2;

const char* const kUsage =
    "usage:\n"
    "  tessel-counters chips\n"
    "      the chip models the library knows\n"
    "  tessel-counters classes --chip CHIP\n"
    "      the registers and memories that exist on a chip, with their variants\n"
    "  tessel-counters describe CLASS --chip CHIP [--variant V]\n"
    "      geometry, S-channel addresses and field table of a class on a chip\n"
    "CHIP is a chip name (BCM88690_B0) or its number (10).\n";

struct UsageError {
  std::string message;
};

[[noreturn]] void fail(const std::string& message) { throw UsageError{message}; }

// ---------------------------------------------------------------------------
// Chips and classes, found through the library's non-stopping queries.

std::vector<Hardware::ChipType> knownChips() {
  std::vector<Hardware::ChipType> out;
  for (int n = 0; n < 256; ++n) {
    const auto chip = static_cast<Hardware::ChipType>(n);
    if (Hardware::chipTypeName(chip) != nullptr) out.push_back(chip);
  }
  return out;
}

std::string chipName(Hardware::ChipType chip) {
  const char* name = Hardware::chipTypeName(chip);
  return name ? name : "chip " + std::to_string(static_cast<unsigned>(chip));
}

std::string upper(std::string s) {
  for (char& c : s) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return s;
}

std::string chipList() {
  std::string out;
  for (auto chip : knownChips()) out += (out.empty() ? "" : ", ") + chipName(chip);
  return out;
}

Hardware::ChipType parseChip(const std::string& text) {
  for (auto chip : knownChips()) {
    if (upper(text) == chipName(chip) || text == std::to_string(static_cast<unsigned>(chip)))
      return chip;
  }
  fail("unknown chip '" + text + "'; known chips: " + chipList());
}

std::vector<std::string> classNames() {
  std::vector<std::string> out;
  for (U32 i = 0; const char* name = Hardware::accessorClassName(i); ++i) out.emplace_back(name);
  return out;
}

std::string closest(const std::string& wanted, const std::vector<std::string>& names) {
  // The name sharing the longest case-insensitive prefix with the input.
  std::string best;
  std::size_t bestLength = 0;
  for (const auto& n : names) {
    std::size_t k = 0;
    while (k < n.size() && k < wanted.size() &&
           std::tolower(static_cast<unsigned char>(n[k])) ==
               std::tolower(static_cast<unsigned char>(wanted[k])))
      ++k;
    if (k > bestLength) {
      bestLength = k;
      best = n;
    }
  }
  return bestLength >= 3 ? best : std::string();
}

std::string parseClass(const std::string& text) {
  const auto names = classNames();
  if (std::find(names.begin(), names.end(), text) != names.end()) return text;
  std::string message = "unknown class '" + text + "'";
  const std::string near = closest(text, names);
  if (!near.empty()) message += "; did you mean " + near + "?";
  message += " 'tessel-counters classes --chip CHIP' lists the classes of a chip";
  fail(message);
}

std::vector<U8> variantsOf(const std::string& cls, Hardware::ChipType chip) {
  std::vector<U8> out;
  for (int v = 0; v < 256; ++v)
    if (Hardware::chipTypeVariantValid(cls.c_str(), chip, static_cast<U8>(v))) out.push_back(static_cast<U8>(v));
  return out;
}

std::string variantText(const std::vector<U8>& variants) {
  // Runs of consecutive variants: "0-7, 16".
  std::string out;
  for (std::size_t i = 0; i < variants.size();) {
    std::size_t j = i;
    while (j + 1 < variants.size() && variants[j + 1] == variants[j] + 1) ++j;
    out += (out.empty() ? "" : ", ") + std::to_string(variants[i]);
    if (j > i) out += "-" + std::to_string(variants[j]);
    i = j + 1;
  }
  return out;
}

// ---------------------------------------------------------------------------
// Arguments

struct Args {
  std::vector<std::string> positional;
  std::map<std::string, std::string> options;
};

Args parseArgs(int argc, char** argv, int first, const std::vector<std::string>& allowed) {
  Args a;
  for (int i = first; i < argc; ++i) {
    std::string arg = argv[i];
    if (arg.rfind("--", 0) == 0) {
      std::string value;
      const auto eq = arg.find('=');
      if (eq != std::string::npos) {
        value = arg.substr(eq + 1);
        arg = arg.substr(0, eq);
      } else {
        if (i + 1 >= argc) fail("option " + arg + " needs a value");
        value = argv[++i];
      }
      if (std::find(allowed.begin(), allowed.end(), arg) == allowed.end()) {
        std::string list;
        for (const auto& o : allowed) list += (list.empty() ? "" : ", ") + o;
        fail("unknown option " + arg + (list.empty() ? "" : "; this command takes " + list));
      }
      if (a.options.count(arg)) fail("option " + arg + " given twice");
      a.options[arg] = value;
    } else {
      a.positional.push_back(arg);
    }
  }
  return a;
}

U32 parseNumber(const std::string& text, const std::string& what, U32 max) {
  char* end = nullptr;
  errno = 0;
  const unsigned long v = std::strtoul(text.c_str(), &end, 0);
  if (text.empty() || *end != '\0' || errno != 0 || v > max || text[0] == '-')
    fail(what + " must be a number from 0 to " + std::to_string(max) + ", not '" + text + "'");
  return static_cast<U32>(v);
}

Hardware::ChipType requireChip(const Args& a) {
  auto it = a.options.find("--chip");
  if (it == a.options.end()) fail("--chip is required; known chips: " + chipList());
  return parseChip(it->second);
}

// ---------------------------------------------------------------------------
// Commands

int cmdChips(const Args& a) {
  if (!a.positional.empty()) fail("chips takes no arguments");
  for (auto chip : knownChips()) std::cout << static_cast<unsigned>(chip) << "  " << chipName(chip) << "\n";
  return 0;
}

int cmdClasses(const Args& a) {
  if (!a.positional.empty()) fail("classes takes no arguments besides --chip");
  const auto chip = requireChip(a);
  std::size_t count = 0;
  for (const auto& cls : classNames()) {
    const auto variants = variantsOf(cls, chip);
    if (variants.empty()) continue;
    ++count;
    auto object = Hardware::stringObj(cls.c_str(), chip, variants.front());
    std::printf("%-50s %-8s variants %s\n", cls.c_str(), object->isTable() ? "memory" : "register",
                variantText(variants).c_str());
  }
  std::printf("%zu classes on %s\n", count, chipName(chip).c_str());
  return 0;
}

struct FieldRow {
  U32 id;
  U16 offset;
  U16 width;
};

std::vector<FieldRow> fieldsOf(const Orrery::AsicBase& object) {
  std::vector<FieldRow> rows;
  for (U32 id = Hardware::FieldIds::kFirst; id <= Hardware::FieldIds::kLast; ++id)
    if (object.isFieldValid(id)) rows.push_back({id, object.fieldOffset(id), object.fieldWidth(id)});
  std::sort(rows.begin(), rows.end(), [](const FieldRow& x, const FieldRow& y) {
    if (x.offset != y.offset) return x.offset < y.offset;
    if (x.width != y.width) return x.width > y.width;  // aggregates before their elements
    return x.id < y.id;
  });
  return rows;
}

int cmdDescribe(const Args& a) {
  if (a.positional.size() != 1) fail("describe takes one class name");
  const std::string cls = parseClass(a.positional[0]);
  const auto chip = requireChip(a);
  const auto variants = variantsOf(cls, chip);
  if (variants.empty()) {
    std::string where;
    for (auto c : knownChips())
      if (!variantsOf(cls, c).empty()) where += (where.empty() ? "" : ", ") + chipName(c);
    fail(cls + " does not exist on " + chipName(chip) + "; it exists on " + where);
  }
  U8 variant = variants.front();
  if (auto it = a.options.find("--variant"); it != a.options.end()) {
    variant = static_cast<U8>(parseNumber(it->second, "--variant", 255));
    if (std::find(variants.begin(), variants.end(), variant) == variants.end())
      fail(cls + " has no variant " + it->second + " on " + chipName(chip) + "; valid variants: " +
           variantText(variants));
  } else if (variants.size() > 1) {
    std::cerr << "note: " << cls << " has variants " << variantText(variants) << " on "
              << chipName(chip) << "; showing variant " << unsigned(variant) << "\n";
  }

  auto object = Hardware::stringObj(cls.c_str(), chip, variant);
  const bool memory = object->isTable();
  const U16 instances = object->instanceCount();
  const U32 elements = object->arrayElements();
  std::printf("%s on %s (%u) variant %u\n", cls.c_str(), chipName(chip).c_str(),
              static_cast<unsigned>(chip), static_cast<unsigned>(variant));
  std::printf("  kind            %s\n", memory ? "memory" : "register");
  std::printf("  width           %u words (%u bytes); buffer of the class %u bytes\n",
              object->width(), 4u * object->width(), object->len());
  if (memory) std::printf("  entries         %u\n", object->entries());
  std::printf("  arrayElements   %u\n", elements);
  if (memory) std::printf("  variants here   %u\n", object->tableVariantCount());
  std::printf("  instanceCount   %u\n", instances);
  std::printf("  fieldCount      %u\n", object->fieldCount());
  const U32 lastEntry = memory ? object->entries() - 1 : 0;
  const U16 lastElement = static_cast<U16>(elements - 1);
  for (U16 id = 0; id < instances; ++id) {
    U32 first = 0, last = 0, subBlock = 0, block = 0;
    object->getSchanAddress(first, subBlock, block, id, 0, 0);
    object->getSchanAddress(last, subBlock, block, id, lastEntry, lastElement);
    std::printf("  instance %-2u     subBlock %u, block %u, address %u", id, subBlock, block, first);
    if (last != first) std::printf(" to %u", last);
    std::printf("\n");
  }
  const auto rows = fieldsOf(*object);
  std::printf("  fields          %-48s %6s %7s %6s\n", "name", "id", "offset", "width");
  for (const auto& r : rows)
    std::printf("                  %-48s %6u %7u %6u\n", Hardware::fieldIdAccessorName(r.id), r.id,
                r.offset, r.width);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 2) {
    std::cerr << "tessel-counters: no command given; commands: chips, classes, describe "
                 "(tessel-counters --help tells their usage)\n";
    return kUsageError;
  }
  const std::string command = argv[1];
  if (command == "--help" || command == "-h" || command == "help") {
    std::cout << kUsage;
    return 0;
  }
  try {
    if (command == "chips") return cmdChips(parseArgs(argc, argv, 2, {}));
    if (command == "classes") return cmdClasses(parseArgs(argc, argv, 2, {"--chip"}));
    if (command == "describe") return cmdDescribe(parseArgs(argc, argv, 2, {"--chip", "--variant"}));
    fail("unknown command '" + command + "'; commands: chips, classes, describe");
  } catch (const UsageError& e) {
    std::cerr << "tessel-counters: " << e.message << "\n";
    return kUsageError;
  }
}
