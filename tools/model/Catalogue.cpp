#include "Catalogue.h"

#include <algorithm>
#include <stdexcept>

namespace Tool {

namespace {

const Hardware::CatalogueDescription& catalogue() {
  return Hardware::catalogueDescription();
}

}  // namespace

std::vector<Hardware::ChipType> knownChips() {
  std::vector<Hardware::ChipType> out;
  for (U32 i = 0; i < catalogue().chipCount; ++i) out.push_back(catalogue().chips[i].chip);
  return out;
}

bool isKnownChip(Hardware::ChipType chip) {
  for (U32 i = 0; i < catalogue().chipCount; ++i)
    if (catalogue().chips[i].chip == chip) return true;
  return false;
}

std::string chipName(Hardware::ChipType chip) {
  for (U32 i = 0; i < catalogue().chipCount; ++i)
    if (catalogue().chips[i].chip == chip) return catalogue().chips[i].name;
  return "chip " + std::to_string(static_cast<unsigned>(chip));
}

std::string chipList() {
  std::string out;
  for (auto chip : knownChips()) out += (out.empty() ? "" : ", ") + chipName(chip);
  return out;
}

std::vector<std::string> classNames() {
  std::vector<std::string> out;
  for (U32 i = 0; i < catalogue().classCount; ++i) out.emplace_back(catalogue().classes[i].name);
  return out;
}

const Hardware::ClassDescription* describedClass(const std::string& cls) {
  return Hardware::findClassDescription(cls.c_str());
}

const Hardware::ClassDescription& classOf(const std::string& cls) {
  const auto* d = describedClass(cls);
  if (!d) throw std::invalid_argument("no class '" + cls + "' in the catalogue");
  return *d;
}

const char* kindName(Hardware::ClassKind kind) {
  return kind == Hardware::ClassKind::Memory ? "memory" : "register";
}

bool isMemory(const std::string& cls) {
  return classOf(cls).kind == Hardware::ClassKind::Memory;
}

std::vector<U8> variantsOf(const std::string& cls, Hardware::ChipType chip) {
  std::vector<U8> out;
  if (const auto* d = describedClass(cls))
    for (U32 i = 0; i < d->pairCount; ++i)
      if (d->pairs[i].chip == chip) out.push_back(d->pairs[i].variant);
  return out;
}

std::vector<Hardware::ChipType> chipsOf(const std::string& cls) {
  std::vector<Hardware::ChipType> out;
  if (const auto* d = describedClass(cls))
    for (U32 i = 0; i < d->pairCount; ++i)
      if (out.empty() || out.back() != d->pairs[i].chip) out.push_back(d->pairs[i].chip);
  return out;
}

std::string chipsOfClass(const std::string& cls) {
  std::string where;
  for (auto c : chipsOf(cls)) where += (where.empty() ? "" : ", ") + chipName(c);
  return where;
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

const std::vector<U32>& allFieldIds() {
  static const std::vector<U32> ids = [] {
    std::vector<U32> out;
    for (U32 c = 0; c < catalogue().classCount; ++c) {
      const auto& d = catalogue().classes[c];
      for (U32 i = 0; i < d.fieldCount; ++i) out.push_back(d.fields[i].id);
    }
    std::sort(out.begin(), out.end());
    out.erase(std::unique(out.begin(), out.end()), out.end());
    return out;
  }();
  return ids;
}

U32 fieldIdNamed(const std::string& name) {
  for (U32 id : allFieldIds())
    if (name == Hardware::fieldIdName(id) || name == Hardware::fieldIdAccessorName(id)) return id;
  return 0;
}

const Hardware::FieldDescription* describedField(const std::string& cls, U32 id) {
  const auto* d = describedClass(cls);
  if (!d) return nullptr;
  const auto* end = d->fields + d->fieldCount;
  const auto* f = std::lower_bound(d->fields, end, id,
                                   [](const Hardware::FieldDescription& x, U32 y) { return x.id < y; });
  return f != end && f->id == id ? f : nullptr;
}

const Hardware::FieldDescription* describedField(const std::string& cls, const std::string& name) {
  const auto* d = describedClass(cls);
  if (!d) return nullptr;
  for (U32 i = 0; i < d->fieldCount; ++i) {
    const auto& f = d->fields[i];
    if (name == f.accessorName() || name == f.hardwareName()) return &f;
  }
  return nullptr;
}

bool isRawField(const std::string& cls, U32 id) {
  const auto* f = describedField(cls, id);
  return f && Hardware::isRawType(f->type);
}

}  // namespace Tool
