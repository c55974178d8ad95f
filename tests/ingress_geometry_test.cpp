// Ingress statistics sources seen as a caller that only knows class names:
// geometry and addresses of every chip group, the block of every instance,
// and field access by identifier over every field of every chip.
#include <functional>
#include <map>
#include <memory>

#include "TestSupport.h"

namespace {

using Hardware::ChipType;
using C = ChipType;

std::vector<ChipType> operator+(std::vector<ChipType> a, const std::vector<ChipType>& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}
const std::vector<ChipType> k690 = {C::BCM88690_B0}, k800 = {C::BCM88800_A0},
                            k850 = {C::BCM88850_A0}, k859 = {C::BCM88859_A2},
                            k490 = {C::BCM88490_A0};
const std::vector<ChipType> kL1 = k690 + k800 + k850 + k859 + tc::chips88480x();
const std::vector<ChipType> kL2 = k490 + tc::chips88860x();

// One row of a class's geometry: entries is 0 for a register.
struct Row {
  const char* cls;
  std::vector<ChipType> chips;
  U32 base;
  U16 instances;
  U16 width;
  U16 fieldCount;
  U32 entries;
};

const std::vector<Row>& rows() {
  static const std::vector<Row> r = {
      {"IppaStatisticsInfo", k690, 476, 2, 7, 68, 0},
      {"IppaStatisticsInfo", k800 + tc::chips88480x(), 479, 1, 7, 68, 0},
      {"IppaStatisticsInfo", k850, 478, 2, 7, 68, 0},
      {"IppaStatisticsInfo", k859, 478, 1, 7, 68, 0},
      {"IppaStatisticsInfo", k490, 483, 1, 13, 68, 0},
      {"IppaStatisticsInfo", tc::chips88860x(), 484, 4, 13, 68, 0},
      {"IppfStatisticsInfo", k690, 498, 2, 7, 68, 0},
      {"IppfStatisticsInfo", k800 + tc::chips88480x(), 556, 1, 7, 68, 0},
      {"IppfStatisticsInfo", k850, 532, 2, 7, 68, 0},
      {"IppfStatisticsInfo", k859, 532, 1, 7, 68, 0},
      {"IppfStatisticsInfo", k490, 493, 1, 13, 132, 0},
      {"IppfStatisticsInfo", tc::chips88860x(), 504, 4, 13, 132, 0},
      {"IppfStatObjProfileAttr", k690, 505, 2, 6, 68, 0},
      {"IppfStatObjProfileAttr", k800 + tc::chips88480x(), 563, 1, 6, 68, 0},
      {"IppfStatObjProfileAttr", k850, 539, 2, 6, 68, 0},
      {"IppfStatObjProfileAttr", k859, 539, 1, 6, 68, 0},
      {"IppfStatObjProfileAttr", k490, 506, 1, 6, 68, 0},
      {"IppfStatObjProfileAttr", tc::chips88860x(), 517, 4, 6, 68, 0},
      {"IppbCurrentLayerStatisticsMetaDataInstructionMap", k690, 478, 2, 6, 67, 0},
      {"IppbCurrentLayerStatisticsMetaDataInstructionMap", k800 + tc::chips88480x(), 478, 1, 6, 67,
       0},
      {"IppbCurrentLayerStatisticsMetaDataInstructionMap", k850, 476, 2, 6, 67, 0},
      {"IppbCurrentLayerStatisticsMetaDataInstructionMap", k859, 476, 1, 6, 67, 0},
      {"IppbCurrentLayerStatisticsMetaDataInstructionMap", k490, 447, 1, 6, 67, 0},
      {"IppbCurrentLayerStatisticsMetaDataInstructionMap", tc::chips88860x(), 449, 4, 6, 67, 0},
      {"IppbCurrentLayerStatisticsMetaDataInformationMap", k690, 484, 2, 1, 10, 0},
      {"IppbCurrentLayerStatisticsMetaDataInformationMap", k800 + tc::chips88480x(), 484, 1, 1, 10,
       0},
      {"IppbCurrentLayerStatisticsMetaDataInformationMap", k850, 482, 2, 1, 10, 0},
      {"IppbCurrentLayerStatisticsMetaDataInformationMap", k859, 482, 1, 1, 10, 0},
      {"IppbCurrentLayerStatisticsMetaDataInformationMap", k490, 453, 1, 1, 10, 0},
      {"IppbCurrentLayerStatisticsMetaDataInformationMap", tc::chips88860x(), 455, 4, 1, 10, 0},
      {"IppcMapStatisticObject", k690 + k850, 10158080, 2, 1, 5, 32},
      {"IppcMapStatisticObject", k800 + k859 + tc::chips88480x() + k490, 10158080, 1, 1, 5, 32},
      {"IppcMapStatisticObject", tc::chips88860x(), 10158080, 4, 1, 5, 32},
      {"IppcPerPortStatistics", k690 + k850, 10354688, 2, 1, 2, 256},
      {"IppcPerPortStatistics", k800 + tc::chips88480x(), 10354688, 1, 1, 2, 1024},
      {"IppcPerPortStatistics", k859 + k490, 10354688, 1, 1, 2, 256},
      {"IppcPerPortStatistics", tc::chips88860x(), 10354688, 4, 1, 2, 256},
      {"FlpbContextEnablers", k690 + k850, 23592960, 2, 2, 1, 64},
      {"FlpbContextEnablers", k800 + k859 + tc::chips88480x(), 23592960, 1, 2, 1, 64},
      {"FlpbContextEnablers", k490, 23920640, 1, 2, 1, 64},
      {"FlpbContextEnablers", tc::chips88860x(), 23789568, 4, 2, 1, 64},
      {"CgmIntIrppStatSettings", k690, 624, 2, 4, 22, 0},
      {"CgmIntIrppStatSettings", k800, 436, 1, 4, 22, 0},
      {"CgmIntIrppStatSettings", k850, 562, 2, 4, 22, 0},
      {"CgmIntIrppStatSettings", k859, 562, 1, 4, 22, 0},
      {"CgmIntIrppStatSettings", tc::chips88480x(), 564, 1, 4, 22, 0},
      {"CgmIntIrppStatSettings", k490, 546, 1, 6, 22, 0},
      {"CgmIntIrppStatSettings", tc::chips88860x(), 545, 4, 6, 22, 0},
      {"CgmIntTmStatSettings", k690, 634, 2, 3, 11, 0},
      {"CgmIntTmStatSettings", k800, 440, 1, 3, 11, 0},
      {"CgmIntTmStatSettings", k850, 563, 2, 4, 11, 0},
      {"CgmIntTmStatSettings", k859, 563, 1, 4, 11, 0},
      {"CgmIntTmStatSettings", tc::chips88480x(), 565, 1, 3, 11, 0},
      {"CgmIntTmStatSettings", k490, 547, 1, 4, 11, 0},
      {"CgmIntTmStatSettings", tc::chips88860x(), 546, 4, 4, 11, 0},
      {"CgmIppHeaderCompensation", k690, 14548992, 2, 1, 1, 256},
      {"CgmIppHeaderCompensation", k800, 418816, 1, 1, 1, 1024},
      {"CgmIppHeaderCompensation", k850, 23035904, 2, 1, 1, 256},
      {"CgmIppHeaderCompensation", k859, 23035904, 1, 1, 1, 256},
      {"CgmIppHeaderCompensation", tc::chips88480x(), 11632640, 1, 1, 1, 1024},
      {"CgmIppHeaderCompensation", k490, 7864320, 1, 1, 1, 256},
      {"CgmIppHeaderCompensation", tc::chips88860x(), 14647296, 4, 1, 1, 256},
      {"McpEngDbBankSource", k690, 256, 2, 1, 14, 0},
      {"McpEngDbBankSource", k800 + k859, 256, 1, 3, 38, 0},
      {"McpEngDbBankSource", k850, 256, 2, 3, 38, 0},
      {"McpEngDbBankSource", tc::chips88480x(), 256, 1, 1, 10, 0},
      {"McpEngDbBankSource", k490, 256, 1, 1, 12, 0},
      {"McpEngDbBankSource", tc::chips88860x(), 256, 4, 2, 18, 0},
      {"EciGpStatus0", k690, 565, 1, 4, 2, 0},
      {"EciGpStatus0", k800, 570, 1, 4, 2, 0},
      {"EciGpStatus0", k850 + k859, 439, 1, 4, 2, 0},
      {"EciGpStatus0", tc::chips88480x() + tc::chips88860x(), 445, 1, 4, 2, 0},
      {"EciGpStatus0", k490, 443, 1, 4, 2, 0},
  };
  return r;
}

// WithStorage bytes of each class: 4 x its widest entry.
const std::map<std::string, U16> kStorage = {
    {"IppaStatisticsInfo", 52},
    {"IppfStatisticsInfo", 52},
    {"IppfStatObjProfileAttr", 24},
    {"IppbCurrentLayerStatisticsMetaDataInstructionMap", 24},
    {"IppbCurrentLayerStatisticsMetaDataInformationMap", 4},
    {"IppcMapStatisticObject", 4},
    {"IppcPerPortStatistics", 4},
    {"FlpbContextEnablers", 8},
    {"CgmIntIrppStatSettings", 24},
    {"CgmIntTmStatSettings", 16},
    {"CgmIppHeaderCompensation", 4},
    {"McpEngDbBankSource", 12},
    {"EciGpStatus0", 16}};

// (subBlock, block) of an instance: the block map of the ingress blocks.
std::pair<U32, U32> blockOf(const std::string& cls, ChipType chip, U32 id) {
  static const std::vector<std::pair<std::string, std::string>> prefixes = {
      {"Ippa", "IPPA"}, {"Ippb", "IPPB"}, {"Flpb", "IPPB"}, {"Ippc", "IPPC"},
      {"Ippf", "IPPF"}, {"Cgm", "CGM"},   {"Mcp", "MCP"},   {"Eci", "ECI"}};
  std::string b;
  for (const auto& [prefix, block] : prefixes)
    if (cls.rfind(prefix, 0) == 0) b = block;
  if (b == "ECI") return {0, 0};
  using P = std::vector<std::pair<U32, U32>>;
  // 88690, 88800, 88850, 88480x, 88490 cells; 88859 has the first of 88850.
  static const std::map<std::string, std::vector<P>> m = {
      {"IPPA", {{{8, 2}, {22, 9}}, {{8, 10}}, {{4, 14}, {4, 26}}, {{8, 17}}, {{0, 38}}}},
      {"IPPB", {{{10, 2}, {24, 9}}, {{10, 10}}, {{6, 14}, {6, 26}}, {{0, 17}}, {{0, 39}}}},
      {"IPPC", {{{12, 2}, {26, 9}}, {{6, 9}}, {{8, 14}, {8, 26}}, {{16, 16}}, {{0, 40}}}},
      {"IPPF", {{{18, 2}, {0, 10}}, {{6, 10}}, {{2, 14}, {2, 26}}, {{24, 12}}, {{0, 37}}}},
      {"CGM", {{{8, 1}, {22, 8}}, {{22, 1}}, {{0, 12}, {0, 24}}, {{24, 13}}, {{0, 132}}}},
      {"MCP", {{{4, 4}, {2, 8}}, {{12, 5}}, {{12, 12}, {12, 24}}, {{8, 16}}, {{0, 137}}}},
  };
  static const std::map<std::string, U32> base88860 = {{"IPPA", 36}, {"IPPB", 37}, {"IPPC", 38},
                                                       {"IPPF", 35}, {"CGM", 83},  {"MCP", 106}};
  const auto& cells = m.at(b);
  switch (chip) {
    case C::BCM88690_B0:
      return cells[0][id];
    case C::BCM88800_A0:
      return cells[1][id];
    case C::BCM88850_A0:
      return cells[2][id];
    case C::BCM88859_A2:
      return cells[2][0];
    case C::BCM88480_A0:
    case C::BCM88480_B0:
      return cells[3][id];
    case C::BCM88490_A0:
      return cells[4][id];
    default:
      return {0, base88860.at(b) + 256 * id};
  }
}

TEST(IngressGeometry, EveryChipGroupThroughTheFactory) {
  std::map<std::string, std::vector<ChipType>> covered;
  for (const Row& r : rows()) {
    for (ChipType chip : r.chips) {
      SCOPED_TRACE(std::string(r.cls) + " chip " + std::to_string(tc::num(chip)));
      covered[r.cls].push_back(chip);
      ASSERT_TRUE(Hardware::chipTypeVariantValid(r.cls, chip, 0));
      EXPECT_FALSE(Hardware::chipTypeVariantValid(r.cls, chip, 1));
      auto obj = Hardware::stringObj(r.cls, chip, 0);
      EXPECT_EQ(obj->len(), kStorage.at(r.cls));
      EXPECT_EQ(obj->width(), r.width);
      EXPECT_EQ(obj->fieldCount(), r.fieldCount);
      EXPECT_EQ(obj->instanceCount(), r.instances);
      EXPECT_EQ(obj->arrayElements(), 1u);
      EXPECT_EQ(obj->isTable(), r.entries != 0);
      if (r.entries != 0) {
        EXPECT_EQ(obj->entries(), r.entries);
        EXPECT_EQ(obj->tableVariantCount(), 1u);
        Orrery::EntrySpans spans = obj->entrySpans();
        ASSERT_EQ(spans.count, 1u);
        EXPECT_EQ(spans.spans[0].firstEntry, 0u);
        EXPECT_EQ(spans.spans[0].size, r.entries);
      } else {
        EXPECT_EQ(obj->maxIdentifier(), 0u);
      }
      EXPECT_TRUE(obj->hasIdentifier(r.instances - 1u));
      EXPECT_FALSE(obj->hasIdentifier(r.instances));
      // First and last instance, first and last entry.
      const U32 lastEntry = r.entries ? r.entries - 1 : 0;
      for (U32 id : {0u, r.instances - 1u}) {
        for (U32 entry : {0u, lastEntry}) {
          U32 address = 0, subBlock = 0, block = 0;
          ASSERT_TRUE(
              obj->getSchanAddress(address, subBlock, block, static_cast<U16>(id), entry, 0));
          EXPECT_EQ(address, r.base + entry);
          EXPECT_EQ(std::make_pair(subBlock, block), blockOf(r.cls, chip, id))
              << "identifier " << id;
        }
      }
    }
  }
  // The rows cover every chip of every class, and the class exists nowhere else.
  ASSERT_EQ(covered.size(), kStorage.size());
  for (const auto& [cls, chips] : covered) {
    EXPECT_EQ(chips.size(), tc::allChips().size()) << cls;
    for (int foreign : {0, 9, 13, 18, 19, 22, 27, 255})
      EXPECT_FALSE(Hardware::chipTypeVariantValid(cls.c_str(), static_cast<ChipType>(foreign), 0))
          << cls;
  }
}

TEST(IngressGeometry, BlockMapEdgeCases) {
  U32 a = 0, s = 99, b = 99;
  ASSERT_TRUE(
      Hardware::IppfStatisticsInfo::getSchanAddress(tc::num(C::BCM88690_B0), 0, a, s, b, 1, 0, 0));
  EXPECT_EQ(std::make_pair(s, b), std::make_pair(0u, 10u));
  ASSERT_TRUE(Hardware::CgmIppHeaderCompensation::getSchanAddress(tc::num(C::BCM88897_C0), 0, a, s,
                                                                  b, 3, 0, 0));
  EXPECT_EQ(std::make_pair(s, b), std::make_pair(0u, 851u));
  for (ChipType chip : tc::allChips()) {
    s = b = 99;
    ASSERT_TRUE(Hardware::EciGpStatus0::getSchanAddress(tc::num(chip), 0, a, s, b, 0, 0, 0));
    EXPECT_EQ(std::make_pair(s, b), std::make_pair(0u, 0u));
  }
  // A pair the class doesn't know answers false and leaves the out-parameters alone.
  a = s = b = 7;
  EXPECT_FALSE(
      Hardware::McpEngDbBankSource::getSchanAddress(tc::num(C::BCM88690_B0), 1, a, s, b, 0, 0, 0));
  EXPECT_FALSE(Hardware::IppcPerPortStatistics::getSchanAddress(13, 0, a, s, b, 0, 0, 0));
  EXPECT_EQ(a + s + b, 21u);
}

TEST(IngressGeometryDeath, AddressChecks) {
  Hardware::IppaStatisticsInfo::WithStorage ippa(C::BCM88860_A0, 0);
  U32 a, s, b;
  EXPECT_ASSERTION(ippa.getSchanAddress(a, s, b, 4, 1, 0), "tableEntry == 0");
  EXPECT_ASSERTION(ippa.getSchanAddress(a, s, b, 0, 0, 1), "arrayIndex < 1");
  EXPECT_ASSERTION(ippa.getSchanAddress(a, s, b, 4, 0, 0),
                   "hasIdentifier( chipType, variant, identifier )");
  EXPECT_ASSERTION(ippa.entries(), "false && \"entries invalid for this class\"");
  Hardware::FlpbContextEnablers::WithStorage flpb(C::BCM88690_B0, 0);
  EXPECT_ASSERTION(flpb.getSchanAddress(a, s, b, 0, 64, 0), "tableEntry < 64");
  EXPECT_ASSERTION(flpb.maxIdentifier(), "false && \"maxIdentifier invalid for this class\"");
  EXPECT_ASSERTION(Hardware::EciGpStatus0::width(tc::num(C::BCM88690_B0), 1), "variant == 0");
  EXPECT_ASSERTION(Hardware::EciGpStatus0::width(13, 0), "0");
  EXPECT_MESSAGE_ASSERTION(
      Hardware::stringObj("McpEngDbBankSource", C::BCM88690_B0, 1),
      " chipType: BCM88690_B0 variant: 1 not in metainfo for McpEngDbBankSource!", "0");
  EXPECT_MESSAGE_ASSERTION(Hardware::stringObj("ippaStatisticsInfo", C::BCM88690_B0, 0),
                           "invalid name given: ippaStatisticsInfo", "objMapIter != objMap.end()");
}

// Over a random buffer, every field reached by identifier writes exactly its
// own bits, reads back by name, and the field mask is the union of the fields.
TEST(IngressFieldsById, WritesAreExactOnEveryChip) {
  for (const auto& [cls, storage] : kStorage) {
    for (ChipType chip : tc::allChips()) {
      SCOPED_TRACE(cls + " chip " + std::to_string(tc::num(chip)));
      auto obj = Hardware::stringObj(cls.c_str(), chip, 0);
      U8* buf = const_cast<U8*>(obj->buf());
      const std::vector<U8> start = tc::randomBytes(storage, tc::num(chip));
      std::memcpy(buf, start.data(), storage);
      std::vector<U8> mask(storage, 0);
      unsigned valid = 0;
      for (U32 id = 0; id <= 1200; ++id) {
        if (!obj->isFieldValid(id)) {
          EXPECT_EQ(obj->fieldWidth(id), 0u);
          continue;
        }
        ++valid;
        const U16 off = obj->fieldOffset(id), w = obj->fieldWidth(id);
        ASSERT_LE(off + w, 32u * obj->width()) << "field " << id;
        for (unsigned bit = off; bit < off + w; ++bit) mask[bit / 8] |= 1 << (bit % 8);
        if (w > 64) continue;  // Raw aggregates: their own setter only
        const U64 value = (0x9e3779b97f4a7c15ull * (id + 1)) & (w == 64 ? ~0ull : (1ull << w) - 1);
        std::vector<U8> before(buf, buf + storage);
        obj->setField64(id, value);
        std::vector<U8> after(buf, buf + storage);
        EXPECT_EQ(tc::changedOutside(before, after, off, w), 0u) << "field " << id;
        EXPECT_EQ(obj->stringField(Hardware::fieldIdAccessorName(id), 0), value) << "field " << id;
      }
      EXPECT_EQ(valid, obj->fieldCount());
      const Raw8192 all = obj->allFieldsMask();
      EXPECT_TRUE(std::equal(mask.begin(), mask.end(), all.begin()));
      EXPECT_TRUE(std::all_of(all.begin() + storage, all.end(), [](U8 x) { return x == 0; }));
      EXPECT_FALSE(obj->isFieldValid(118));
    }
  }
}

// Identifiers follow the text order of the hardware names, and one name has
// one identifier in every class that has it.
TEST(IngressFieldsById, IdentifiersFollowTextOrder) {
  namespace F = Hardware::FieldIds;
  EXPECT_EQ(F::STAT_METADATA_0_MC, 1051u);
  EXPECT_EQ(F::STAT_METADATA_10_MC, 1053u);
  EXPECT_EQ(F::STAT_METADATA_1_MC, 1073u);
  EXPECT_EQ(F::STAT_METADATA_9_UC, 1178u);
  EXPECT_EQ(F::ENG_DB_C_BANK_10_SOURCE, 193u);
  EXPECT_EQ(F::ENG_DB_C_BANK_1_SOURCE, 203u);
  EXPECT_EQ(F::ENG_DB_C_BANK_5_SOURCE, 223u);
  EXPECT_EQ(F::VTT_DEFAULT_TERM_VSI_OBJ_PROFILE, 1199u);
  // Position by identifier: element N of the table lies at 6*N (Uc) and 6*N+3 (Mc).
  Hardware::IppfStatisticsInfo::WithStorage ippf(C::BCM88860_A0, 0);
  Hardware::IppaStatisticsInfo::WithStorage ippa(C::BCM88860_A0, 0);
  const std::vector<std::pair<U32, U16>> ippfIds = {{F::STAT_METADATA_1_MC, 9},
                                                    {F::STAT_METADATA_10_MC, 63},
                                                    {F::STAT_METADATA_10_UC, 60},
                                                    {F::STAT_METADATA_63_UC, 378},
                                                    {F::STAT_METADATA_9_MC, 57}};
  for (auto [id, off] : ippfIds) {
    EXPECT_EQ(ippf.fieldOffset(id), off) << id;
    if (off < 192) {
      EXPECT_EQ(ippa.fieldOffset(id), off) << id;
    }
  }
  Hardware::McpEngDbBankSource::WithStorage mcp(C::BCM88690_B0, 0);
  EXPECT_EQ(mcp.fieldOffset(F::ENG_DB_C_BANK_1_SOURCE), 4u);
  EXPECT_EQ(mcp.fieldOffset(F::ENG_DB_C_BANK_10_SOURCE), 22u);
  EXPECT_EQ(mcp.fieldOffset(F::ENG_DB_C_BANK_5_SOURCE), 12u);
  // Shared hardware names, shared identifiers, other positions.
  Hardware::IppfStatObjProfileAttr::WithStorage attr(C::BCM88690_B0, 0);
  Hardware::IppbCurrentLayerStatisticsMetaDataInstructionMap::WithStorage instr(C::BCM88690_B0, 0);
  EXPECT_EQ(attr.fieldOffset(F::STAT_5_METADATA_SHIFT), 30u);
  EXPECT_EQ(instr.fieldOffset(F::STAT_5_METADATA_SHIFT), 32u);
  EXPECT_EQ(attr.fieldOffset(F::STAT_5_METADATA_SIZE), 34u);
  EXPECT_EQ(instr.fieldOffset(F::STAT_5_METADATA_SIZE), 30u);
}

}  // namespace
