#include "Catalog.h"

#include <algorithm>
#include <cctype>
#include <iostream>

namespace Tool {

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

namespace {

std::string upper(std::string s) {
  for (char& c : s) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return s;
}

std::string joinNames(const std::vector<std::string>& names, std::size_t limit) {
  std::string out;
  for (std::size_t i = 0; i < names.size() && i < limit; ++i) out += (i ? ", " : "") + names[i];
  if (names.size() > limit) out += ", ... (" + std::to_string(names.size()) + " in all)";
  return out;
}

// The name sharing the longest case-insensitive prefix with the input.
std::string closest(const std::string& wanted, const std::vector<std::string>& names) {
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

}  // namespace

std::string chipsOfClass(const std::string& cls) {
  std::string where;
  for (auto c : knownChips())
    if (!variantsOf(cls, c).empty()) where += (where.empty() ? "" : ", ") + chipName(c);
  return where;
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
    if (Hardware::chipTypeVariantValid(cls.c_str(), chip, static_cast<U8>(v)))
      out.push_back(static_cast<U8>(v));
  return out;
}

std::string variantText(const std::vector<U8>& variants) {
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

std::string Target::where() const {
  return chipName(chip) + " variant " + std::to_string(static_cast<unsigned>(variant));
}

Target resolveTarget(const Args& args) {
  return resolveTarget(args, "--chip", "--variant");
}

Target resolveTarget(const Args& args, const std::string& chipOption,
                     const std::string& variantOption) {
  if (args.positional.empty()) fail("a class name is required, e.g. CrpsEngineInitRequest");
  Target t;
  t.cls = parseClass(args.positional[0]);
  const std::string* chipText = args.get(chipOption);
  if (!chipText) fail(chipOption + " is required; known chips: " + chipList());
  t.chip = parseChip(*chipText);
  const auto variants = variantsOf(t.cls, t.chip);
  if (variants.empty())
    fail(t.cls + " does not exist on " + chipName(t.chip) + "; it exists on " +
         chipsOfClass(t.cls));
  t.variant = variants.front();
  if (const std::string* v = args.get(variantOption)) {
    t.variant = static_cast<U8>(parseNumber(*v, variantOption, 255));
    if (std::find(variants.begin(), variants.end(), t.variant) == variants.end())
      fail(t.cls + " has no variant " + *v + " on " + chipName(t.chip) +
           "; valid variants: " + variantText(variants));
  } else if (variants.size() > 1) {
    std::cerr << "note: " << t.cls << " has variants " << variantText(variants) << " on "
              << chipName(t.chip) << "; using variant " << unsigned(t.variant) << " (choose with "
              << variantOption << ")\n";
  }
  t.object = Hardware::stringObj(t.cls.c_str(), t.chip, t.variant);
  return t;
}

const std::vector<U32>& allFieldIds() {
  static const std::vector<U32> ids = [] {
    std::vector<U32> out;
    for (U32 id = Hardware::FieldIds::kFirst; id <= Hardware::FieldIds::kLast; ++id)
      if (Hardware::fieldIdName(id)) out.push_back(id);
    return out;
  }();
  return ids;
}

std::vector<Field> fieldsOf(const Orrery::AsicBase& object) {
  return fieldsOf(object, allFieldIds());
}

std::vector<Field> fieldsOf(const Orrery::AsicBase& object, const std::vector<U32>& ids) {
  std::vector<Field> rows;
  for (U32 id : ids) {
    if (!object.isFieldValid(id)) continue;
    rows.push_back({id, object.fieldOffset(id), object.fieldWidth(id),
                    Hardware::fieldIdAccessorName(id), Hardware::fieldIdName(id)});
  }
  std::sort(rows.begin(), rows.end(), [](const Field& x, const Field& y) {
    if (x.offset != y.offset) return x.offset < y.offset;
    if (x.width != y.width) return x.width > y.width;  // aggregates before their elements
    return x.id < y.id;
  });
  return rows;
}

namespace {

// Every (chip, variant) of the class, with an accessor for each.
template <typename F>
void forEachPair(const std::string& cls, F&& visit) {
  for (auto chip : knownChips())
    for (U8 v : variantsOf(cls, chip)) visit(chip, v, *Hardware::stringObj(cls.c_str(), chip, v));
}

}  // namespace

Field findField(const Target& target, const std::string& name) {
  U32 id = 0;
  for (U32 i = Hardware::FieldIds::kFirst; i <= Hardware::FieldIds::kLast && !id; ++i) {
    const char* hw = Hardware::fieldIdName(i);
    if (hw && (name == hw || name == Hardware::fieldIdAccessorName(i))) id = i;
  }
  const auto here = fieldsOf(*target.object);
  std::vector<std::string> names;
  for (const auto& f : here) names.push_back(f.name);
  const std::string valid =
      "; fields of " + target.cls + " on " + target.where() + ": " + joinNames(names, 24);
  if (!id) {
    const std::string near = closest(name, names);
    fail(target.cls + " has no field '" + name + "'" +
         (near.empty() ? "" : " (did you mean " + near + "?)") + valid);
  }
  for (const auto& f : here)
    if (f.id == id) return f;
  std::vector<std::string> elsewhere;
  forEachPair(target.cls, [&](Hardware::ChipType chip, U8 v, const Orrery::AsicBase& o) {
    if (o.isFieldValid(id)) elsewhere.push_back(chipName(chip) + " variant " + std::to_string(v));
  });
  if (elsewhere.empty()) fail(target.cls + " has no field '" + name + "'" + valid);
  fail("field '" + name + "' of " + target.cls + " is not on " + target.where() + " (it is on " +
       joinNames(elsewhere, 6) + ")" + valid);
}

bool isRawField(const std::string& cls, U32 id) {
  unsigned widest = 0;
  forEachPair(cls, [&](Hardware::ChipType, U8, const Orrery::AsicBase& o) {
    widest = std::max<unsigned>(widest, o.fieldWidth(id));
  });
  return widest > 64;
}

std::vector<U8> readField(const Orrery::AsicBase& object, const Field& field) {
  // The library hands out a field 64 bits at a time; a field of up to 64 bits
  // is the whole answer of word 0.
  std::vector<U8> value;
  const unsigned words = (field.width + 63u) / 64u;
  for (unsigned w = 0; w < words; ++w) {
    const U64 part = object.stringField(field.name.c_str(), static_cast<U16>(w));
    for (int b = 0; b < 8; ++b) value.push_back(static_cast<U8>(part >> (8 * b)));
  }
  value.resize((field.width + 7u) / 8u);
  return value;
}

void writeField(Target& target, const Field& field, const std::vector<U8>& value) {
  if (!isRawField(target.cls, field.id)) {
    U64 v = 0;
    for (std::size_t b = 0; b < value.size() && b < 8; ++b)
      v |= static_cast<U64>(value[b]) << (8 * b);
    target.object->setField64(field.id, v);
    return;
  }
  // A raw field can't be written by identifier or name: place its bits where
  // the library says the field lies.
  Detail::copyBits(target.object->buf(), target.object->len(), value.data(),
                   static_cast<int>(value.size()), field.width, field.offset, 0);
}

std::vector<std::pair<unsigned, unsigned>> strayBits(const U8* bytes, const U8* mask,
                                                     unsigned bits) {
  std::vector<std::pair<unsigned, unsigned>> out;
  for (unsigned k = 0; k < bits; ++k) {
    const bool stray = ((bytes[k / 8] & ~mask[k / 8]) >> (k % 8)) & 1u;
    if (!stray) continue;
    if (!out.empty() && out.back().second + 1 == k)
      out.back().second = k;
    else
      out.push_back({k, k});
  }
  return out;
}

std::string rangeText(unsigned first, unsigned last) {
  return first == last ? std::to_string(first)
                       : std::to_string(first) + ".." + std::to_string(last);
}

}  // namespace Tool
