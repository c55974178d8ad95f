#include "Model.h"

#include <map>

namespace Tool {

std::vector<U8> ClassModel::variantsOn(Hardware::ChipType chip) const {
  std::vector<U8> out;
  for (const auto& l : layouts)
    if (l.chip == chip) out.push_back(l.variant);
  return out;
}

const Layout* ClassModel::find(Hardware::ChipType chip, U8 variant) const {
  for (const auto& l : layouts)
    if (l.chip == chip && l.variant == variant) return &l;
  return nullptr;
}

std::vector<Instance> instancesOf(const Orrery::AsicBase& o) {
  std::vector<Instance> out;
  const U32 lastEntry = o.isTable() ? o.entries() - 1 : 0;
  const U16 lastElement = static_cast<U16>(o.arrayElements() - 1);
  for (U16 id = 0; id < o.instanceCount(); ++id) {
    Instance s{id, 0, 0, 0, 0};
    o.getSchanAddress(s.firstAddress, s.subBlock, s.block, id, 0, 0);
    o.getSchanAddress(s.lastAddress, s.subBlock, s.block, id, lastEntry, lastElement);
    out.push_back(s);
  }
  return out;
}

Layout layoutOf(const std::string& cls, const Orrery::AsicBase& o,
                const std::vector<U32>& fieldIds) {
  Layout l;
  l.chip = static_cast<Hardware::ChipType>(o.chipType());
  l.variant = o.variant();
  l.widthWords = o.width();
  l.fieldCount = o.fieldCount();
  l.arrayElements = o.arrayElements();
  l.elementStride = 0;
  if (l.arrayElements > 1) {
    U32 first = 0, second = 0, subBlock = 0, block = 0;
    o.getSchanAddress(first, subBlock, block, 0, 0, 0);
    o.getSchanAddress(second, subBlock, block, 0, 0, 1);
    l.elementStride = second - first;
  }
  l.entries = o.isTable() ? o.entries() : 1;
  l.tableVariantCount = o.isTable() ? o.tableVariantCount() : 0;
  l.instances = instancesOf(o);
  l.fields = fieldsOf(cls, o, fieldIds);
  l.views = viewsOf(l.fields);
  return l;
}

ClassModel classModel(const std::string& cls, const std::vector<Hardware::ChipType>& chips,
                      const std::vector<U32>& fieldIds) {
  ClassModel m{cls, isMemory(cls), {}};
  for (auto chip : chips.empty() ? knownChips() : chips)
    for (U8 v : variantsOf(cls, chip))
      m.layouts.push_back(layoutOf(cls, *Hardware::stringObj(cls.c_str(), chip, v), fieldIds));
  return m;
}

std::vector<ClassModel> catalogueModel(const std::vector<Hardware::ChipType>& chips,
                                       const std::vector<U32>& fieldIds) {
  std::vector<ClassModel> out;
  for (const auto& cls : classNames()) {
    auto m = classModel(cls, chips, fieldIds);
    if (!m.layouts.empty()) out.push_back(std::move(m));
  }
  return out;
}

std::string layoutsText(const ClassModel& cls, const std::vector<const Layout*>& layouts) {
  std::map<U8, std::vector<U8>> byChip;  // chip number: variants, in layout order
  for (const Layout* l : layouts) byChip[static_cast<U8>(l->chip)].push_back(l->variant);
  std::string out;
  for (const auto& [number, variants] : byChip) {
    const auto chip = static_cast<Hardware::ChipType>(number);
    out += (out.empty() ? "" : ", ") + chipName(chip);
    if (variants != cls.variantsOn(chip)) out += " v" + variantText(variants);
  }
  return out;
}

}  // namespace Tool
