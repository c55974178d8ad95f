#include "Catalog.h"

#include <algorithm>
#include <cctype>
#include <iostream>
#include <map>
#include <mutex>

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

std::string parseClass(const std::string& text, const std::string& lister) {
  const auto names = classNames();
  if (std::find(names.begin(), names.end(), text) != names.end()) return text;
  std::string message = "unknown class '" + text + "'";
  const std::string near = closest(text, names);
  if (!near.empty()) message += "; did you mean " + near + "?";
  message += " " + lister + " lists the classes of a chip";
  fail(message, ErrorKind::UnknownName);
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

namespace {

bool valid(const std::string& cls, Hardware::ChipType chip, int variant) {
  return Hardware::chipTypeVariantValid(cls.c_str(), chip, static_cast<U8>(variant));
}

// The class's first variant on the chip from `from` on, or 256 if none.
int firstVariant(const std::string& cls, Hardware::ChipType chip, int from) {
  while (from < 256 && !valid(cls, chip, from)) ++from;
  return from;
}

}  // namespace

Target openTarget(const std::string& cls, Hardware::ChipType chip, const std::string* variant,
                  const std::string& option, std::ostream* notes) {
  const int first = firstVariant(cls, chip, 0);
  if (first == 256)
    fail(cls + " does not exist on " + chipName(chip) + "; it exists on " + chipsOfClass(cls));
  Target t{cls, chip, static_cast<U8>(first), nullptr};
  if (variant) {
    t.variant = static_cast<U8>(parseNumber(*variant, option, 255));
    if (!valid(cls, chip, t.variant))
      fail(cls + " has no variant " + *variant + " on " + chipName(chip) +
           "; valid variants: " + variantText(variantsOf(cls, chip)));
  } else if (notes && firstVariant(cls, chip, first + 1) < 256) {
    *notes << "note: " << cls << " has variants " << variantText(variantsOf(cls, chip)) << " on "
           << chipName(chip) << "; using variant " << first << " (choose with " << option << ")\n";
  }
  t.object = Hardware::stringObj(cls.c_str(), chip, t.variant);
  return t;
}

Target resolveTarget(const Args& args) {
  return resolveTarget(args, "--chip", "--variant");
}

Target resolveTarget(const Args& args, const std::string& chipOption,
                     const std::string& variantOption) {
  if (args.positional.empty()) fail("a class name is required, e.g. CrpsEngineInitRequest");
  const std::string cls = parseClass(args.positional[0]);
  const std::string* chipText = args.get(chipOption);
  if (!chipText) fail(chipOption + " is required; known chips: " + chipList());
  return openTarget(cls, parseChip(*chipText), args.get(variantOption), variantOption,
                    &std::cerr);
}

std::string kindOf(const Orrery::AsicBase& object) {
  return object.isTable() ? "memory" : "register";
}

void checkLength(const Target& target, std::size_t count, const std::string& what, bool exact) {
  const unsigned size = target.entryBytes();
  if (count == size || (count < size && !exact)) return;
  const unsigned words = target.object->width();
  fail(what + " has " + std::to_string(count) + " bytes, but " + target.cls + " on " +
       target.where() + " is " + std::to_string(size) + " bytes (" + std::to_string(words) +
       (words == 1 ? " word" : " words") + "); give " + (exact ? "exactly " : "at most ") +
       std::to_string(size) + " bytes, byte 0 first");
}

void loadBuffer(Target& target, const std::vector<U8>& bytes) {
  std::fill(target.object->buf(), target.object->buf() + target.object->len(), U8{0});
  std::copy(bytes.begin(), bytes.end(), target.object->buf());
}

U32 indexCount(const Orrery::AsicBase& object, Index which) {
  switch (which) {
    case Index::Instance:
      return object.instanceCount();
    case Index::Entry:
      return object.isTable() ? object.entries() : 1;
    case Index::Element:
      break;
  }
  return object.arrayElements();
}

U32 checkIndex(const Target& target, Index which, U64 value, const std::string& given) {
  static const char* const kNames[][2] = {
      {"instance", "instances"}, {"entry", "entries"}, {"array element", "array elements"}};
  const U32 count = indexCount(*target.object, which);
  if (value < count) return static_cast<U32>(value);
  const auto& name = kNames[static_cast<int>(which)];
  fail(given + " is out of range: " + target.cls + " on " + target.where() + " has " +
           std::to_string(count) + " " + name[count == 1 ? 0 : 1] + ", 0.." +
           std::to_string(count - 1),
       ErrorKind::OutOfRange);
}

SchanAddress schanAddress(const Orrery::AsicBase& object, U32 instance, U32 entry, U32 element) {
  SchanAddress at;
  object.getSchanAddress(at.address, at.subBlock, at.block, static_cast<U16>(instance), entry,
                         static_cast<U16>(element));
  return at;
}

namespace {

Field fieldAt(const Orrery::AsicBase& object, U32 id) {
  return {id, object.fieldOffset(id), object.fieldWidth(id), Hardware::fieldIdAccessorName(id),
          Hardware::fieldIdName(id)};
}

}  // namespace

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
  for (U32 id : ids)
    if (object.isFieldValid(id)) rows.push_back(fieldAt(object, id));
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
  if (id && target.object->isFieldValid(id)) return fieldAt(*target.object, id);
  // What the message names: the fields here, a close one, where the field is.
  const auto here = fieldsOf(*target.object);
  std::vector<std::string> names;
  for (const auto& f : here) names.push_back(f.name);
  const std::string valid =
      "; fields of " + target.cls + " on " + target.where() + ": " + joinNames(names, 24);
  if (!id) {
    const std::string near = closest(name, names);
    fail(target.cls + " has no field '" + name + "'" +
             (near.empty() ? "" : " (did you mean " + near + "?)") + valid,
         ErrorKind::UnknownName);
  }
  std::vector<std::string> elsewhere;
  forEachPair(target.cls, [&](Hardware::ChipType chip, U8 v, const Orrery::AsicBase& o) {
    if (o.isFieldValid(id)) elsewhere.push_back(chipName(chip) + " variant " + std::to_string(v));
  });
  if (elsewhere.empty())
    fail(target.cls + " has no field '" + name + "'" + valid, ErrorKind::UnknownName);
  fail("field '" + name + "' of " + target.cls + " is not on " + target.where() + " (it is on " +
           joinNames(elsewhere, 6) + ")" + valid,
       ErrorKind::UnknownName);
}

void checkDistinct(const std::vector<Field>& given, const Field& field) {
  for (const auto& g : given) {
    if (g.id == field.id) fail("field " + field.name + " given twice");
    if (g.offset < field.offset + field.width && field.offset < g.offset + g.width)
      fail("fields " + g.name + " (bits " + rangeText(g.offset, g.offset + g.width - 1u) +
           ") and " + field.name + " (bits " +
           rangeText(field.offset, field.offset + field.width - 1u) +
           ") share bits; give only one of them");
  }
}

namespace {

// Field id -> its widest width over the class's chips and variants. Each class
// is walked once per process: the catalogue doesn't change while it runs, and
// a script that sets fields one by one would walk it on every write.
const std::map<U32, unsigned>& widestWidths(const std::string& cls) {
  static std::mutex lock;
  static std::map<std::string, std::map<U32, unsigned>> known;
  const std::lock_guard<std::mutex> hold(lock);
  if (const auto it = known.find(cls); it != known.end()) return it->second;
  auto& widest = known[cls];
  forEachPair(cls, [&](Hardware::ChipType, U8, const Orrery::AsicBase& o) {
    for (U32 id = Hardware::FieldIds::kFirst; id <= Hardware::FieldIds::kLast; ++id)
      widest[id] = std::max<unsigned>(widest[id], o.fieldWidth(id));
  });
  return widest;
}

}  // namespace

bool isRawField(const std::string& cls, U32 id) {
  const auto& widest = widestWidths(cls);
  const auto it = widest.find(id);
  return it != widest.end() && it->second > 64;
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
