#include "Catalog.h"

#include <algorithm>
#include <cctype>
#include <iostream>

namespace Tool {

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

Hardware::ChipType parseChip(const std::string& text) {
  for (auto chip : knownChips())
    if (upper(text) == chipName(chip)) return chip;
  // A number, in the grammar of every other number: decimal or 0x hex.
  U64 number = 256;
  try {
    number = parseNumber(text, "chip", 255);
  } catch (const UsageError&) {
  }
  for (auto chip : knownChips())
    if (number == static_cast<unsigned>(chip)) return chip;
  fail("unknown chip " + quoted(text) + "; known chips: " + chipList());
}

std::string parseClass(const std::string& text, const std::string& lister) {
  const auto names = classNames();
  if (std::find(names.begin(), names.end(), text) != names.end()) return text;
  std::string message = "unknown class " + quoted(text);
  const std::string near = closest(text, names);
  if (!near.empty()) message += " (did you mean " + near + "?)";
  message += "; " + lister + " lists the classes";
  fail(message, ErrorKind::UnknownName);
}

std::string Target::where() const {
  return chipName(chip) + " variant " + std::to_string(static_cast<unsigned>(variant));
}

Target openTarget(const std::string& cls, Hardware::ChipType chip, const std::string* variant,
                  const std::string& option, std::ostream* notes) {
  const auto variants = variantsOf(cls, chip);
  if (variants.empty())
    fail(cls + " does not exist on " + chipName(chip) + "; it exists on " + chipsOfClass(cls));
  Target t{cls, chip, variants.front(), nullptr};
  if (variant) {
    t.variant = static_cast<U8>(parseNumber(*variant, option, 255));
    if (std::find(variants.begin(), variants.end(), t.variant) == variants.end())
      fail(cls + " has no variant " + *variant + " on " + chipName(chip) +
           "; valid variants: " + variantText(variants));
  } else if (notes && variants.size() > 1) {
    *notes << "note: " << cls << " has variants " << variantText(variants) << " on "
           << chipName(chip) << "; using variant " << unsigned{t.variant} << " (choose with "
           << option << ")\n";
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

std::vector<Field> fieldsOf(const Target& target) {
  return fieldsOf(target.cls, *target.object);
}

void checkLength(const Target& target, std::size_t count, const std::string& what, bool exact,
                 const std::string& unit) {
  const unsigned words = target.object->width();
  const unsigned size = unit == "word" ? words : target.entryBytes();
  if (count == size || (count < size && !exact)) return;
  const auto many = [&](std::size_t n, const std::string& u) {
    return std::to_string(n) + " " + u + (n == 1 ? "" : "s");
  };
  fail(what + " has " + many(count, unit) + ", but " + target.cls + " on " + target.where() +
       " is " + many(size, unit) + (unit == "word" ? "" : " (" + many(words, "word") + ")") +
       "; give " + (exact ? "exactly " : "at most ") + many(size, unit) + ", " + unit + " 0 first");
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

Field findField(const Target& target, const std::string& name) {
  const auto* described = describedField(target.cls, name);
  const U32 id = described ? described->id : fieldIdNamed(name);
  if (described && target.object->isFieldValid(id))
    return {id, target.object->fieldOffset(id), target.object->fieldWidth(id),
            described->accessorName(), described->hardwareName()};
  // What the message names: the fields here, a close one, where the field is.
  const auto here = fieldsOf(target);
  std::vector<std::string> names;
  for (const auto& f : here) names.push_back(f.name);
  const std::string valid =
      "; fields of " + target.cls + " on " + target.where() + ": " + joinNames(names, 24);
  if (!id) {
    const std::string near = closest(name, names);
    fail(target.cls + " has no field " + quoted(name) +
             (near.empty() ? "" : " (did you mean " + near + "?)") + valid,
         ErrorKind::UnknownName);
  }
  std::vector<std::string> elsewhere;
  const auto& cls = classOf(target.cls);
  for (U32 i = 0; i < cls.pairCount; ++i) {
    const auto [chip, v] = cls.pairs[i];
    if (Hardware::stringObj(cls.name, chip, v)->isFieldValid(id))
      elsewhere.push_back(chipName(chip) + " variant " + std::to_string(v));
  }
  if (elsewhere.empty())
    fail(target.cls + " has no field " + quoted(name) + valid, ErrorKind::UnknownName);
  fail("field " + quoted(name) + " of " + target.cls + " is not on " + target.where() +
           " (it is on " + joinNames(elsewhere, 6) + ")" + valid,
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

}  // namespace Tool
