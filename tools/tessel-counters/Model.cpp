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

Layout layoutOf(const Orrery::AsicBase& o, const std::vector<U32>& fieldIds) {
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
  l.fields = fieldsOf(o, fieldIds);
  l.views = viewsOf(l.fields);
  return l;
}

ClassModel classModel(const std::string& cls, const std::vector<Hardware::ChipType>& chips,
                      const std::vector<U32>& fieldIds) {
  ClassModel m{cls, false, {}};
  for (auto chip : chips.empty() ? knownChips() : chips)
    for (U8 v : variantsOf(cls, chip)) {
      const auto object = Hardware::stringObj(cls.c_str(), chip, v);
      m.memory = object->isTable();
      m.layouts.push_back(layoutOf(*object, fieldIds));
    }
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

Json& writeFieldKeys(Json& j, const Field& f) {
  return j.value("name", f.name)
      .value("hardwareName", f.hardwareName)
      .value("id", f.id)
      .value("offset", static_cast<unsigned>(f.offset))
      .value("width", static_cast<unsigned>(f.width));
}

void writeViewKeys(Json& j, const std::vector<Field>& fields, const FieldView& view) {
  if (view.parent >= 0) j.value("viewOf", fields[static_cast<std::size_t>(view.parent)].name);
  if (view.crosses.empty()) return;
  j.beginArray("overlaps");
  for (int c : view.crosses) j.value(nullptr, fields[static_cast<std::size_t>(c)].name);
  j.endArray();
}

void writeGeometryKeys(Json& j, const Layout& l) {
  j.value("chip", chipName(l.chip))
      .value("chipNumber", static_cast<unsigned>(l.chip))
      .value("variant", static_cast<unsigned>(l.variant))
      .value("widthWords", static_cast<unsigned>(l.widthWords))
      .value("entryBytes", 4u * l.widthWords)
      .value("arrayElements", l.arrayElements)
      .value("elementStride", l.elementStride)
      .value("entries", l.entries)
      .value("tableVariantCount", l.tableVariantCount)
      .value("instanceCount", static_cast<unsigned>(l.instances.size()))
      .value("fieldCount", static_cast<unsigned>(l.fieldCount))
      .value("address", l.instances.empty() ? 0u : l.instances[0].firstAddress);
  writeInstances(j, l.instances);
}

void writeInstances(Json& j, const std::vector<Instance>& instances) {
  j.beginArray("instances");
  for (const auto& s : instances)
    j.beginObject()
        .value("identifier", static_cast<unsigned>(s.identifier))
        .value("subBlock", s.subBlock)
        .value("block", s.block)
        .value("firstAddress", s.firstAddress)
        .value("lastAddress", s.lastAddress)
        .endObject();
  j.endArray();
}

}  // namespace Tool
