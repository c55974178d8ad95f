// Ingress statistics sources: geometry, addresses and blocks of every chip
// group; the layer-type tables, profile registers and information map with
// their aggregate, element and entry views; CGM settings, mapping memories,
// bank sources and timestamps whose layouts move with chip parameters.
#include <algorithm>
#include <map>

#include "TestSupport.h"

namespace {

using Hardware::ChipType;
using C = ChipType;
namespace F = Hardware::FieldIds;
using Ippa = Hardware::IppaStatisticsInfo;
using Ippf = Hardware::IppfStatisticsInfo;
using Attr = Hardware::IppfStatObjProfileAttr;
using Instr = Hardware::IppbCurrentLayerStatisticsMetaDataInstructionMap;
using Info = Hardware::IppbCurrentLayerStatisticsMetaDataInformationMap;
using Irpp = Hardware::CgmIntIrppStatSettings;
using Tm = Hardware::CgmIntTmStatSettings;
using Hdr = Hardware::CgmIppHeaderCompensation;
using Mcp = Hardware::McpEngDbBankSource;
using Eci = Hardware::EciGpStatus0;
using MapObj = Hardware::IppcMapStatisticObject;
using PerPort = Hardware::IppcPerPortStatistics;
using Flpb = Hardware::FlpbContextEnablers;

bool isL2(ChipType c) {
  return c == C::BCM88490_A0 || c >= C::BCM88860_A0;
}

// ---------------------------------------------------------------------------
// Geometry and addresses

std::vector<ChipType> operator+(std::vector<ChipType> a, const std::vector<ChipType>& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}
const std::vector<ChipType> k690 = {C::BCM88690_B0}, k800 = {C::BCM88800_A0},
                            k850 = {C::BCM88850_A0}, k859 = {C::BCM88859_A2},
                            k490 = {C::BCM88490_A0};
const std::vector<ChipType> k480x = tc::chips88480x(), k800x = k800 + k480x,
                            k860x = tc::chips88860x();

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
  // clang-format off
  static const std::vector<Row> r = {
      {"IppaStatisticsInfo", k690, 476, 2, 7, 68, 0},
      {"IppaStatisticsInfo", k800x, 479, 1, 7, 68, 0},
      {"IppaStatisticsInfo", k850, 478, 2, 7, 68, 0},
      {"IppaStatisticsInfo", k859, 478, 1, 7, 68, 0},
      {"IppaStatisticsInfo", k490, 483, 1, 13, 68, 0},
      {"IppaStatisticsInfo", k860x, 484, 4, 13, 68, 0},
      {"IppfStatisticsInfo", k690, 498, 2, 7, 68, 0},
      {"IppfStatisticsInfo", k800x, 556, 1, 7, 68, 0},
      {"IppfStatisticsInfo", k850, 532, 2, 7, 68, 0},
      {"IppfStatisticsInfo", k859, 532, 1, 7, 68, 0},
      {"IppfStatisticsInfo", k490, 493, 1, 13, 132, 0},
      {"IppfStatisticsInfo", k860x, 504, 4, 13, 132, 0},
      {"IppfStatObjProfileAttr", k690, 505, 2, 6, 68, 0},
      {"IppfStatObjProfileAttr", k800x, 563, 1, 6, 68, 0},
      {"IppfStatObjProfileAttr", k850, 539, 2, 6, 68, 0},
      {"IppfStatObjProfileAttr", k859, 539, 1, 6, 68, 0},
      {"IppfStatObjProfileAttr", k490, 506, 1, 6, 68, 0},
      {"IppfStatObjProfileAttr", k860x, 517, 4, 6, 68, 0},
      {"IppbCurrentLayerStatisticsMetaDataInstructionMap", k690, 478, 2, 6, 67, 0},
      {"IppbCurrentLayerStatisticsMetaDataInstructionMap", k800x, 478, 1, 6, 67, 0},
      {"IppbCurrentLayerStatisticsMetaDataInstructionMap", k850, 476, 2, 6, 67, 0},
      {"IppbCurrentLayerStatisticsMetaDataInstructionMap", k859, 476, 1, 6, 67, 0},
      {"IppbCurrentLayerStatisticsMetaDataInstructionMap", k490, 447, 1, 6, 67, 0},
      {"IppbCurrentLayerStatisticsMetaDataInstructionMap", k860x, 449, 4, 6, 67, 0},
      {"IppbCurrentLayerStatisticsMetaDataInformationMap", k690, 484, 2, 1, 10, 0},
      {"IppbCurrentLayerStatisticsMetaDataInformationMap", k800x, 484, 1, 1, 10, 0},
      {"IppbCurrentLayerStatisticsMetaDataInformationMap", k850, 482, 2, 1, 10, 0},
      {"IppbCurrentLayerStatisticsMetaDataInformationMap", k859, 482, 1, 1, 10, 0},
      {"IppbCurrentLayerStatisticsMetaDataInformationMap", k490, 453, 1, 1, 10, 0},
      {"IppbCurrentLayerStatisticsMetaDataInformationMap", k860x, 455, 4, 1, 10, 0},
      {"IppcMapStatisticObject", k690 + k850, 10158080, 2, 1, 5, 32},
      {"IppcMapStatisticObject", k800 + k859 + k480x + k490, 10158080, 1, 1, 5, 32},
      {"IppcMapStatisticObject", k860x, 10158080, 4, 1, 5, 32},
      {"IppcPerPortStatistics", k690 + k850, 10354688, 2, 1, 2, 256},
      {"IppcPerPortStatistics", k800x, 10354688, 1, 1, 2, 1024},
      {"IppcPerPortStatistics", k859 + k490, 10354688, 1, 1, 2, 256},
      {"IppcPerPortStatistics", k860x, 10354688, 4, 1, 2, 256},
      {"FlpbContextEnablers", k690 + k850, 23592960, 2, 2, 1, 64},
      {"FlpbContextEnablers", k800 + k859 + k480x, 23592960, 1, 2, 1, 64},
      {"FlpbContextEnablers", k490, 23920640, 1, 2, 1, 64},
      {"FlpbContextEnablers", k860x, 23789568, 4, 2, 1, 64},
      {"CgmIntIrppStatSettings", k690, 624, 2, 4, 22, 0},
      {"CgmIntIrppStatSettings", k800, 436, 1, 4, 22, 0},
      {"CgmIntIrppStatSettings", k850, 562, 2, 4, 22, 0},
      {"CgmIntIrppStatSettings", k859, 562, 1, 4, 22, 0},
      {"CgmIntIrppStatSettings", k480x, 564, 1, 4, 22, 0},
      {"CgmIntIrppStatSettings", k490, 546, 1, 6, 22, 0},
      {"CgmIntIrppStatSettings", k860x, 545, 4, 6, 22, 0},
      {"CgmIntTmStatSettings", k690, 634, 2, 3, 11, 0},
      {"CgmIntTmStatSettings", k800, 440, 1, 3, 11, 0},
      {"CgmIntTmStatSettings", k850, 563, 2, 4, 11, 0},
      {"CgmIntTmStatSettings", k859, 563, 1, 4, 11, 0},
      {"CgmIntTmStatSettings", k480x, 565, 1, 3, 11, 0},
      {"CgmIntTmStatSettings", k490, 547, 1, 4, 11, 0},
      {"CgmIntTmStatSettings", k860x, 546, 4, 4, 11, 0},
      {"CgmIppHeaderCompensation", k690, 14548992, 2, 1, 1, 256},
      {"CgmIppHeaderCompensation", k800, 418816, 1, 1, 1, 1024},
      {"CgmIppHeaderCompensation", k850, 23035904, 2, 1, 1, 256},
      {"CgmIppHeaderCompensation", k859, 23035904, 1, 1, 1, 256},
      {"CgmIppHeaderCompensation", k480x, 11632640, 1, 1, 1, 1024},
      {"CgmIppHeaderCompensation", k490, 7864320, 1, 1, 1, 256},
      {"CgmIppHeaderCompensation", k860x, 14647296, 4, 1, 1, 256},
      {"McpEngDbBankSource", k690, 256, 2, 1, 14, 0},
      {"McpEngDbBankSource", k800 + k859, 256, 1, 3, 38, 0},
      {"McpEngDbBankSource", k850, 256, 2, 3, 38, 0},
      {"McpEngDbBankSource", k480x, 256, 1, 1, 10, 0},
      {"McpEngDbBankSource", k490, 256, 1, 1, 12, 0},
      {"McpEngDbBankSource", k860x, 256, 4, 2, 18, 0},
      {"EciGpStatus0", k690, 565, 1, 4, 2, 0},
      {"EciGpStatus0", k800, 570, 1, 4, 2, 0},
      {"EciGpStatus0", k850 + k859, 439, 1, 4, 2, 0},
      {"EciGpStatus0", k480x + k860x, 445, 1, 4, 2, 0},
      {"EciGpStatus0", k490, 443, 1, 4, 2, 0},
  };
  // clang-format on
  return r;
}

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
  // clang-format off
  switch (chip) {
    case C::BCM88690_B0: return cells[0][id];
    case C::BCM88800_A0: return cells[1][id];
    case C::BCM88850_A0: return cells[2][id];
    case C::BCM88859_A2: return cells[2][0];
    case C::BCM88480_A0: case C::BCM88480_B0: return cells[3][id];
    case C::BCM88490_A0: return cells[4][id];
    default: return {0, base88860.at(b) + 256 * id};
  }
  // clang-format on
}

TEST(IngressGeometry, EveryChipGroupThroughTheFactory) {
  for (const Row& r : rows()) {
    for (ChipType chip : r.chips) {
      SCOPED_TRACE(std::string(r.cls) + " chip " + std::to_string(tc::num(chip)));
      auto obj = Hardware::stringObj(r.cls, chip, 0);
      EXPECT_EQ(obj->width(), r.width);
      EXPECT_EQ(obj->fieldCount(), r.fieldCount);
      EXPECT_EQ(obj->instanceCount(), r.instances);
      if (r.entries != 0) {
        EXPECT_EQ(obj->entries(), r.entries);
        EXPECT_EQ(obj->entrySpans().spans[0].size, r.entries);
      }
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
}

// Identifiers follow the text order of the hardware names, and one name has
// one identifier in every class that has it.
TEST(IngressFieldsById, IdentifiersFollowTextOrder) {
  EXPECT_EQ(F::ENG_DB_C_BANK_10_SOURCE, 193u);
  EXPECT_EQ(F::ENG_DB_C_BANK_1_SOURCE, 203u);
  EXPECT_EQ(F::ENG_DB_C_BANK_5_SOURCE, 223u);
  EXPECT_EQ(F::VTT_DEFAULT_TERM_VSI_OBJ_PROFILE, 1199u);
  // Position by identifier: element N of the table lies at 6*N (Uc) and 6*N+3 (Mc).
  Ippf::WithStorage ippf(C::BCM88860_A0, 0);
  Ippa::WithStorage ippa(C::BCM88860_A0, 0);
  // clang-format off
  const std::vector<std::pair<U32, U16>> ippfIds = {
      {F::STAT_METADATA_1_MC, 9}, {F::STAT_METADATA_10_MC, 63}, {F::STAT_METADATA_10_UC, 60},
      {F::STAT_METADATA_63_UC, 378}, {F::STAT_METADATA_9_MC, 57}};
  // clang-format on
  for (auto [id, off] : ippfIds) {
    EXPECT_EQ(ippf.fieldOffset(id), off) << id;
    if (off < 192) {
      EXPECT_EQ(ippa.fieldOffset(id), off) << id;
    }
  }
  Mcp::WithStorage mcp(C::BCM88690_B0, 0);
  EXPECT_EQ(mcp.fieldOffset(F::ENG_DB_C_BANK_1_SOURCE), 4u);
  EXPECT_EQ(mcp.fieldOffset(F::ENG_DB_C_BANK_10_SOURCE), 22u);
  EXPECT_EQ(mcp.fieldOffset(F::ENG_DB_C_BANK_5_SOURCE), 12u);
  // Shared hardware names, shared identifiers, other positions.
  Attr::WithStorage attr(C::BCM88690_B0, 0);
  Instr::WithStorage instr(C::BCM88690_B0, 0);
  EXPECT_EQ(attr.fieldOffset(F::STAT_5_METADATA_SHIFT), 30u);
  EXPECT_EQ(instr.fieldOffset(F::STAT_5_METADATA_SHIFT), 32u);
  EXPECT_EQ(attr.fieldOffset(F::STAT_5_METADATA_SIZE), 34u);
  EXPECT_EQ(instr.fieldOffset(F::STAT_5_METADATA_SIZE), 30u);
}

// The profile register lies right behind the statistics info of its block,
// the information map six above the instruction map.
TEST(Profiles, AddressesFollowTheirNeighbours) {
  for (ChipType chip : tc::allChips()) {
    const U32 c = tc::num(chip);
    U32 info = 0, attr = 0, instr = 0, map = 0, s, b;
    ASSERT_TRUE(Ippf::getSchanAddress(c, 0, info, s, b, 0, 0, 0));
    ASSERT_TRUE(Attr::getSchanAddress(c, 0, attr, s, b, 0, 0, 0));
    ASSERT_TRUE(Instr::getSchanAddress(c, 0, instr, s, b, 0, 0, 0));
    ASSERT_TRUE(Info::getSchanAddress(c, 0, map, s, b, 0, 0, 0));
    EXPECT_EQ(attr, info + Ippf::width(c, 0)) << c;
    EXPECT_EQ(map, instr + 6) << c;
  }
}

// ---------------------------------------------------------------------------
// Layer-type tables, profiles and the information map

template <class X>
void allOnesThroughAggregate(ChipType chip, U8 elements, U8 vttExpected, unsigned aggregateBits) {
  std::vector<U8> buf(52, 0);
  X x(chip, buf.data(), 52, false, 0);
  Raw512 ones;
  ones.fill(0xff);
  x.statMetaDataMapIs(ones);
  for (U32 n = 0; n < elements; ++n) {
    EXPECT_EQ(x.metadataUcByLayerType(n), 7) << n;
    EXPECT_EQ(x.metadataMcByLayerType(n), 7) << n;
  }
  EXPECT_EQ(x.vttDefaultLifStatObjProfile(), vttExpected);
  EXPECT_EQ(x.vttDefaultTermVsiObjProfile(), vttExpected);
  for (unsigned bit = 0; bit < 8 * buf.size(); ++bit)
    ASSERT_EQ(tc::bitOf(buf, bit), bit < aggregateBits) << bit;
  // The getter clears its whole result before copying the aggregate in.
  const Raw512 back = x.statMetaDataMap();
  for (unsigned i = 0; i < 64; ++i) EXPECT_EQ(back[i], i < aggregateBits / 8 ? 0xff : 0) << i;
  for (U16 word = 0; word < 8; ++word)
    EXPECT_EQ(x.stringField("statMetaDataMap", word), 64u * word < aggregateBits ? ~0ull : 0ull);
}

TEST(StatisticsInfo, AggregateCoversElementsAndOnIppaL2TheDefaultProfiles) {
  allOnesThroughAggregate<Ippf>(C::BCM88860_A0, 64, 0, 384);
  allOnesThroughAggregate<Ippa>(C::BCM88860_A0, 32, 31, 384);
  allOnesThroughAggregate<Ippf>(C::BCM88690_B0, 32, 0, 192);
  allOnesThroughAggregate<Ippa>(C::BCM88690_B0, 32, 0, 192);
}

TEST(StatisticsInfo, ElementAndEntryViewsShareBits) {
  for (ChipType chip : tc::allChips()) {
    Ippa::WithStorage a(chip, 0);
    a.statMetaDataMapEntryIs(5);
    EXPECT_EQ(a.statMetadata0Uc(), 5);
    EXPECT_EQ(a.metadataUcByLayerType(0), 5);
    EXPECT_EQ(a.statMetaDataMap()[0], 0x05);
    Ippf::WithStorage f(chip, 0);
    f.statMetadata31UcIs(5);
    f.statMetadata31McIs(3);
    const Raw512 map = f.statMetaDataMap();
    for (unsigned i = 0; i < 64; ++i) EXPECT_EQ(map[i], i == 23 ? 0x74 : 0) << i;
    EXPECT_EQ(f.statMetaDataMapEntry(), 0);
  }
}

TEST(StatisticsInfo, ChipDependentGeometryOfTheTable) {
  struct Case {
    ChipType chip;
    U16 mapLen, ippfVttOffset;
  };
  for (const Case& c : {Case{C::BCM88690_B0, 192, 192}, Case{C::BCM88800_A0, 192, 192},
                        Case{C::BCM88490_A0, 384, 384}, Case{C::BCM88860_A0, 384, 384}}) {
    Ippa::WithStorage a(c.chip, 0);
    Ippf::WithStorage f(c.chip, 0);
    EXPECT_EQ(a.statMetaDataMapLen(), c.mapLen);
    EXPECT_EQ(f.statMetaDataMapLen(), c.mapLen);
    EXPECT_EQ(f.vttDefaultLifStatObjProfileOffset(), c.ippfVttOffset);
    EXPECT_EQ(f.vttDefaultTermVsiObjProfileOffset(), c.ippfVttOffset + 5);
    EXPECT_EQ(a.vttDefaultLifStatObjProfileOffset(), 192);
  }
}

TEST(StatisticsInfo, ByIdentifierAndName) {
  Ippa::WithStorage a(C::BCM88690_B0, 0);
  std::vector<U8> pattern = tc::randomBytes(52, 7);
  std::memcpy(const_cast<U8*>(a.buf()), pattern.data(), 52);
  EXPECT_TRUE(a.isFieldValid(1182));
  EXPECT_EQ(a.fieldWidth(1182), 192);
  EXPECT_EQ(a.fieldOffset(1182), 0);
  U64 word2 = 0;
  std::memcpy(&word2, pattern.data() + 16, 8);
  EXPECT_EQ(a.stringField("statMetaDataMap", 2), word2);
  EXPECT_EQ(a.stringField("statMetaDataMap", 3), 0u);
  a.setField64(1051, 0x100);  // converted to U8: 0
  EXPECT_EQ(a.statMetadata0Mc(), 0);
}

TEST(StatisticsInfoDeath, Checks) {
  // A caller's 28-byte buffer is enough for every field on L1, not for getAllFields.
  std::vector<U8> buf(52, 0);
  Ippf f28(C::BCM88690_B0, buf.data(), 28, false, 0);
  f28.vttDefaultTermVsiObjProfileIs(31);
  EXPECT_ASSERTION(f28.getAllFields(), "len_ >= 52");

  Ippf::WithStorage f690(C::BCM88690_B0, 0), f860(C::BCM88860_A0, 0);
  EXPECT_EQ(f690.metadataUcByLayerType(31), 0);
  EXPECT_EQ(f860.metadataUcByLayerType(63), 0);
  EXPECT_ASSERTION(f690.metadataUcByLayerType(32), "0");
  EXPECT_ASSERTION(f690.metadataMcByLayerTypeIs(63, 1), "0");
  for (Ippf* f : {&f690, &f860})
    EXPECT_MESSAGE_ASSERTION(f->metadataUcByLayerType(64),
                             "Array index 64 out of range for metadataUcByLayerType", "0");
  Ippa::WithStorage a860s(C::BCM88860_A0, 0);
  EXPECT_MESSAGE_ASSERTION(a860s.metadataMcByLayerTypeIs(32, 1),
                           "Array index 32 out of range for metadataMcByLayerTypeIs", "0");
  EXPECT_MESSAGE_ASSERTION(a860s.metadataMcByLayerType(32),
                           "Array index 32 out of range for metadataMcByLayerType", "0");

  // An element the L1 chip lacks, through every path.
  const U32 id40 = Hardware::FieldIds::STAT_METADATA_40_UC;
  EXPECT_FALSE(f690.isStatMetadata40UcValid());
  EXPECT_FALSE(f690.isFieldValid(id40));
  EXPECT_EQ(f690.fieldWidth(id40), 0);
  EXPECT_TRUE(f860.isFieldValid(id40));
  EXPECT_ASSERTION(f690.statMetadata40Uc(), "0");
  EXPECT_ASSERTION(f690.statMetadata40UcIs(1), "0");
  EXPECT_ASSERTION(f690.statMetadata40UcOffset(), "0");
  EXPECT_ASSERTION(f690.fieldOffset(id40), "0");
  EXPECT_ASSERTION(f690.setField64(id40, 1), "0");
  EXPECT_ASSERTION(f690.stringField("statMetadata40Uc", 0), "0");
  EXPECT_ASSERTION(f690.stringFieldIs("statMetadata40Uc", 1), "0");
  EXPECT_MESSAGE_ASSERTION(
      f690.statMetadata40UcLen(),
      " chipType: BCM88690_B0 variant: 0 does not have field STAT_METADATA_40_UC", "0");

  // Conversion before the value check, the Raw aggregate and foreign names.
  EXPECT_ASSERTION(a860s.setField64(1051, 0x108), "value <= 0x7");
  EXPECT_ASSERTION(a860s.setField64(1182, 1), "false");
  EXPECT_ASSERTION(a860s.stringFieldIs("statMetaDataMap", 1), "false");
  EXPECT_ASSERTION(a860s.fieldOffset(118), "false");
  EXPECT_MESSAGE_ASSERTION(a860s.stringField("metadataMcByLayerType", 0), "fieldName not found.",
                           "false");
  EXPECT_MESSAGE_ASSERTION(a860s.stringFieldIs("statMetadata32Uc", 0),
                           "fieldName not found or is const.", "false");
}

// Profile N owns bits 6N..6N+5 in both twins; shift low in one, size low in the other.
TEST(Profiles, TwinsPackTheOtherWayRound) {
  for (ChipType chip : tc::allChips()) {
    Attr::WithStorage attr(chip, 0);
    Instr::WithStorage instr(chip, 0);
    const_cast<U8*>(attr.buf())[0] = 0x2d;
    const_cast<U8*>(instr.buf())[0] = 0x2d;
    EXPECT_EQ(attr.metadataShiftByProfile(0), 13);
    EXPECT_EQ(attr.statMetaDataShiftVal(), 13);
    EXPECT_EQ(attr.metadataSizeByProfile(0), 2);
    EXPECT_EQ(attr.statMetaDataLength(), 2);
    EXPECT_EQ(attr.statMetaDataEntry(), 0x2d);
    EXPECT_EQ(instr.currentLayerSize(), 1);
    EXPECT_EQ(instr.metadataSizeByProfile(0), 1);
    EXPECT_EQ(instr.currentLayerShift(), 11);
    EXPECT_EQ(instr.metadataShiftByProfile(0), 11);
    EXPECT_EQ(attr.fieldCount(), 68);
    EXPECT_EQ(instr.fieldCount(), 67);

    std::vector<U8> a(24, 0), b(24, 0);
    Attr attrZ(chip, a.data(), 24, false, 0);
    Instr instrZ(chip, b.data(), 24, false, 0);
    attrZ.metadataSizeByProfileIs(31, 3);
    attrZ.metadataShiftByProfileIs(31, 10);
    instrZ.metadataSizeByProfileIs(31, 3);
    instrZ.metadataShiftByProfileIs(31, 10);
    for (unsigned i = 0; i < 24; ++i) {
      EXPECT_EQ(a[i], i == 23 ? 0xe8 : 0) << i;
      EXPECT_EQ(b[i], i == 23 ? 0xac : 0) << i;
    }
    EXPECT_EQ(attrZ.statObjProfileAttrVec()[23], 0xe8);
    EXPECT_EQ(instrZ.currentLayerStatisticsMetaDataInstructionMap()[23], 0xac);
  }
}

TEST(Profiles, RawAggregateCopiesOnlyItsOwnBits) {
  std::vector<U8> buf = tc::randomBytes(32, 3);
  const std::vector<U8> start = buf;
  Attr attr(C::BCM88860_A0, buf.data(), 32, false, 0);
  Raw256 ones;
  ones.fill(0xff);
  attr.statObjProfileAttrVecIs(ones);
  for (unsigned i = 0; i < 32; ++i) EXPECT_EQ(buf[i], i < 24 ? 0xff : start[i]) << i;
  const Raw256 back = attr.statObjProfileAttrVec();
  for (unsigned i = 0; i < 32; ++i) EXPECT_EQ(back[i], i < 24 ? 0xff : 0) << i;
  for (U32 n = 0; n < 32; ++n) EXPECT_EQ(attr.metadataSizeByProfile(n), 3);
}

TEST(InformationMap, U32AggregateOverEightValues) {
  for (ChipType chip : tc::allChips()) {
    Info::WithStorage info(chip, 0);
    info.currentLayerBaseIs(5);
    info.metadataByIndexIs(7, 6);
    EXPECT_EQ(info.metadataByIndex(0), 5);
    EXPECT_EQ(info.statMetadata0(), 5);
    EXPECT_EQ(info.currentLayerStatisticsMetaDataInformationMap(), 0xc00005u);
    EXPECT_EQ(std::vector<U8>(info.buf(), info.buf() + 4),
              (std::vector<U8>{0x05, 0x00, 0xc0, 0x00}));
    info.setField64(Hardware::FieldIds::CURRENT_LAYER_STATISTICS_META_DATA_INFORMATION_MAP,
                    0xfac688);
    for (U32 n = 0; n < 8; ++n) EXPECT_EQ(info.metadataByIndex(n), (0xfac688 >> (3 * n)) & 7) << n;
    info.stringFieldIs("currentLayerStatisticsMetaDataInformationMap", 0);
    EXPECT_EQ(info.stringField("statMetadata7", 0), 0u);
    std::fill_n(const_cast<U8*>(info.buf()), 4, 0xff);
    EXPECT_EQ(info.getAllFields(), 0xffffffu);
  }
}

TEST(ProfilesDeath, Checks) {
  Attr::WithStorage attr(C::BCM88690_B0, 0);
  Instr::WithStorage instr(C::BCM88860_A0, 0);
  Info::WithStorage info(C::BCM88850_A0, 0);
  EXPECT_MESSAGE_ASSERTION(attr.metadataSizeByProfile(32),
                           "Array index 32 out of range for metadataSizeByProfile", "0");
  EXPECT_MESSAGE_ASSERTION(instr.metadataShiftByProfileIs(32, 0),
                           "Array index 32 out of range for metadataShiftByProfileIs", "0");
  EXPECT_MESSAGE_ASSERTION(info.metadataByIndex(8),
                           "Array index 8 out of range for metadataByIndex", "0");
  EXPECT_ASSERTION(info.metadataByIndexIs(2, 8), "value <= 0x7");
  EXPECT_ASSERTION(attr.setField64(1185, 0), "false");
  EXPECT_ASSERTION(instr.stringFieldIs("currentLayerStatisticsMetaDataInstructionMap", 0), "false");
  std::vector<U8> buf(24, 0);
  Attr attr23(C::BCM88690_B0, buf.data(), 23, false, 0);
  EXPECT_ASSERTION(attr23.statObjProfileAttrVecIs(Raw256{}), "len_ >= 24");
}

// ---------------------------------------------------------------------------
// CGM settings, header compensation, mapping memories, banks, timestamps

// Width of the queue numbers of the TM settings.
unsigned qOf(ChipType c) {
  // clang-format off
  switch (c) {
    case C::BCM88800_A0: return 17;
    case C::BCM88850_A0: case C::BCM88859_A2: return 18;
    case C::BCM88480_A0: case C::BCM88480_B0: case C::BCM88490_A0: return 15;
    default: return 16;  // 88690 and 88860x
  }
  // clang-format on
}

TEST(CgmSettings, PackedLayoutsOnEveryChip) {
  for (ChipType chip : tc::allChips()) {
    SCOPED_TRACE(tc::num(chip));
    const unsigned m = isL2(chip) ? 16 : 8, q = qOf(chip);
    Irpp::WithStorage irpp(chip, 0);
    for (U32 n = 0; n < 10; ++n) {
      EXPECT_EQ(irpp.fieldOffset(292 + n), m * n);
      EXPECT_EQ(irpp.fieldWidth(292 + n), m);
      EXPECT_EQ(irpp.fieldOffset(281 + n), 10 * m + n);
    }
    EXPECT_EQ(irpp.intIrppStatHdrCmpMask0Offset(), 10 * m + 10);
    EXPECT_EQ(irpp.intIrppStatHdrCmpMask1Offset(), 10 * m + 15);
    Tm::WithStorage tm(chip, 0);
    EXPECT_EQ(tm.intTmStatRjctFilterMask1Offset(), 6 + m);
    const unsigned qbase = 6 + 2 * m;
    EXPECT_EQ(tm.intTmStatQnumLow0Offset(), qbase);
    EXPECT_EQ(tm.intTmStatQnumHigh0Offset(), qbase + q);
    EXPECT_EQ(tm.intTmStatQnumLow1Offset(), qbase + 2 * q);
    EXPECT_EQ(tm.intTmStatQnumHigh1Offset(), qbase + 3 * q);
    EXPECT_EQ(tm.intTmStatQnumHigh1Len(), q);
    EXPECT_EQ(tm.intTmStatHdrCmpMaskOffset(), qbase + 4 * q);
    EXPECT_EQ(tm.width(), (qbase + 4 * q + 5 + 31) / 32);
    // Buffer of all ones: getAllFields keeps exactly the bits in use.
    std::fill_n(const_cast<U8*>(tm.buf()), 16, 0xff);
    const Raw128 all = tm.getAllFields();
    for (unsigned bit = 0; bit < 128; ++bit)
      ASSERT_EQ((all[bit / 8] >> (bit % 8)) & 1, bit < qbase + 4 * q + 5 ? 1 : 0) << bit;
  }
}

TEST(CgmSettings, FilterMaskIndexedAccessorAndCutValues) {
  for (ChipType chip : {C::BCM88690_B0, C::BCM88860_A0}) {
    const bool l2 = isL2(chip);
    Irpp::WithStorage r(chip, 0);
    r.intIrppStatRjctFilterMask0Is(0x1ff);
    EXPECT_EQ(r.intIrppStatRjctFilterMask0(), l2 ? 0x1ff : 0xff);
    Irpp::WithStorage z(chip, 0);
    z.intIrppStatFilterMaskIs(9, 0xfff9);
    EXPECT_EQ(z.intIrppStatFilterMask(9), l2 ? 0xfff9 : 0xf9);
    const U8* b = z.buf();
    if (l2) {
      EXPECT_EQ(b[18], 0xf9);
      EXPECT_EQ(b[19], 0xff);
    } else {
      EXPECT_EQ(b[9], 0xf9);
    }
    Irpp::WithStorage once(chip, 0);
    once.intIrppStatMcOnceIs(9, 1);
    const std::vector<U8> v(once.buf(), once.buf() + 24);
    EXPECT_EQ(tc::changedOutside(std::vector<U8>(24, 0), v, l2 ? 169 : 89, 1), 0u);
    EXPECT_TRUE(tc::bitOf(v, l2 ? 169 : 89));
    once.intIrppStatHdrCmpMaskIs(1, 31);
    EXPECT_EQ(once.intIrppStatHdrCmpMask1(), 31);
    EXPECT_EQ(once.intIrppStatMcOnce(9), 1);
  }
  // Queue numbers: the limit follows the chip's width, none at 16 bits.
  Tm::WithStorage t690(C::BCM88690_B0, 0), t850(C::BCM88850_A0, 0);
  t690.intTmStatQnumLowIs(0, 0x20000);
  EXPECT_EQ(t690.intTmStatQnumLow(0), 0u);
  t850.intTmStatQnumLowIs(0, 0x20000);
  EXPECT_EQ(t850.intTmStatQnumLow(0), 0x20000u);
  for (ChipType chip : {C::BCM88690_B0, C::BCM88800_A0, C::BCM88850_A0, C::BCM88860_A0}) {
    Tm::WithStorage t(chip, 0);
    t.intTmStatQnumLowIs(0, 0x8000);
    EXPECT_EQ(t.intTmStatQnumLow(0), 0x8000u);
  }
}

TEST(CgmSettingsDeath, Checks) {
  Irpp::WithStorage r(C::BCM88860_A0, 0);
  EXPECT_MESSAGE_ASSERTION(r.intIrppStatFilterMaskIs(10, 0),
                           "Array index 10 out of range for intIrppStatFilterMaskIs", "0");
  EXPECT_MESSAGE_ASSERTION(r.intIrppStatHdrCmpMask(2),
                           "Array index 2 out of range for intIrppStatHdrCmpMask", "0");
  // Queue-number limits by chip: 15, 17 and 18 bits.
  Tm::WithStorage t480(C::BCM88480_A0, 0), t800(C::BCM88800_A0, 0), t850(C::BCM88850_A0, 0);
  EXPECT_ASSERTION(t480.intTmStatQnumLowIs(0, 0x8000), "value <= 0x7fff");
  EXPECT_ASSERTION(t800.intTmStatQnumLowIs(0, 0x20000), "value <= 0x1ffff");
  EXPECT_ASSERTION(t850.intTmStatQnumHighIs(1, 0x40000), "value <= 0x3ffff");
  EXPECT_MESSAGE_ASSERTION(t850.intTmStatQnumLow(2),
                           "Array index 2 out of range for intTmStatQnumLow", "0");
}

TEST(HeaderCompensation, DeltaWidthAndEntriesByChip) {
  struct Case {
    ChipType chip;
    U16 len;
    U32 entries;
  };
  for (Case c :
       {Case{C::BCM88690_B0, 8, 256}, Case{C::BCM88800_A0, 8, 1024}, Case{C::BCM88480_A0, 8, 1024},
        Case{C::BCM88850_A0, 9, 256}, Case{C::BCM88859_A2, 9, 256}, Case{C::BCM88860_A0, 9, 256}}) {
    Hdr::WithStorage h(c.chip, 0);
    EXPECT_EQ(h.ippHeaderDeltaLen(), c.len);
    h.ippHeaderDeltaIs(0x1ff);
    EXPECT_EQ(h.ippHeaderDelta(), c.len == 8 ? 0xff : 0x1ff);
    EXPECT_EQ(h.allFieldsMask()[1], c.len == 8 ? 0 : 1);
    EXPECT_EQ(Hdr::entrySpans(tc::num(c.chip), 0).spans,
              c.entries == 1024 ? Hdr::_entrySpans_BCM88800_A0 : Hdr::_entrySpans_BCM88870_A0);
  }
  Hdr::WithStorage h690(C::BCM88690_B0, 0);
  h690.ippHeaderDeltaIs(0x200);
  EXPECT_EQ(h690.ippHeaderDelta(), 0);
  U32 a, s, b;
  ASSERT_TRUE(Hdr::getSchanAddress(tc::num(C::BCM88690_B0), 0, a, s, b, 0, 255, 0));
  EXPECT_EQ(a, 14549247u);
  ASSERT_TRUE(Hdr::getSchanAddress(tc::num(C::BCM88800_A0), 0, a, s, b, 0, 1023, 0));
  EXPECT_EQ(a, 419839u);
  EXPECT_EQ(Hdr::tableVariantCount(13), 0u);
  EXPECT_EQ(Hdr::tableVariantCount(10), 1u);
}

TEST(MappingMemories, FieldsAndSpans) {
  for (ChipType chip : tc::allChips()) {
    MapObj::WithStorage m(chip, 0);
    m.statisticsIfIs(15);
    m.typeIs(3);
    m.isCounterIs(1);
    m.isMeterIs(1);
    m.mappingRequiredIs(1);
    EXPECT_EQ(std::vector<U8>(m.buf(), m.buf() + 4), (std::vector<U8>{0xff, 0x01, 0x00, 0x00}));
    PerPort::WithStorage p(chip, 0);
    p.objIdIs(0xfffff);
    p.objCmdIs(31);
    EXPECT_EQ(std::vector<U8>(p.buf(), p.buf() + 4), (std::vector<U8>{0xff, 0xff, 0xff, 0x01}));
    std::fill_n(const_cast<U8*>(p.buf()), 4, 0xff);
    std::fill_n(const_cast<U8*>(m.buf()), 4, 0xff);
    EXPECT_EQ(p.getAllFields(), 0x1ffffffu);
    EXPECT_EQ(m.getAllFields(), 0x1ffu);
    Flpb::WithStorage f(chip, 0);
    f.fwdDomainStatisticsEnableIs(1);
    const U16 off = isL2(chip) ? 17 : 19;
    EXPECT_EQ(f.fwdDomainStatisticsEnableOffset(), off);
    const std::vector<U8> fb(f.buf(), f.buf() + 8);
    EXPECT_EQ(tc::changedOutside(std::vector<U8>(8, 0), fb, off, 1), 0u);
    EXPECT_EQ(fb[2], isL2(chip) ? 0x02 : 0x08);
    std::fill_n(const_cast<U8*>(f.buf()), 8, 0xff);
    EXPECT_EQ(f.getAllFields(), U64{1} << off);
    const bool big = chip == C::BCM88800_A0 || chip == C::BCM88480_A0 || chip == C::BCM88480_B0;
    EXPECT_EQ(p.entrySpans().spans,
              big ? PerPort::_entrySpans_BCM88800_A0 : PerPort::_entrySpans_BCM88870_A0);
  }
  EXPECT_EQ(PerPort::_entrySpans_BCM88800_A0[0].size, 1024u);
  EXPECT_EQ(PerPort::_entrySpans_BCM88870_A0[0].size, 256u);
  U32 a, s, b;
  ASSERT_TRUE(PerPort::getSchanAddress(tc::num(C::BCM88800_A0), 0, a, s, b, 0, 1023, 0));
  EXPECT_EQ(a, 10355711u);
  for (auto [chip, addr] :
       {std::pair{C::BCM88800_A0, 23593023u}, std::pair{C::BCM88490_A0, 23920703u},
        std::pair{C::BCM88860_A0, 23789631u}}) {
    ASSERT_TRUE(Flpb::getSchanAddress(tc::num(chip), 0, a, s, b, 0, 63, 0));
    EXPECT_EQ(a, addr);
  }
}

TEST(MappingMemoriesDeath, Checks) {
  std::vector<U8> buf(8, 0);
  MapObj m1(C::BCM88690_B0, buf.data(), 1, false, 0);
  m1.isMeterIs(1);
  EXPECT_ASSERTION(m1.mappingRequiredIs(1), "len_ >= 2");
  PerPort::WithStorage p690(C::BCM88690_B0, 0), p860(C::BCM88860_A0, 0);
  Hdr::WithStorage h690(C::BCM88690_B0, 0);
  U32 a, s, b;
  EXPECT_ASSERTION(p690.getSchanAddress(a, s, b, 0, 1023, 0), "tableEntry < 256");
  EXPECT_ASSERTION(h690.getSchanAddress(a, s, b, 0, 0, 1), "arrayIndex == 0");
  EXPECT_ASSERTION(p860.getSchanAddress(a, s, b, 0, 0, 1), "arrayIndex < 1");
}

// Identifier of ENG_DB_C_BANK_<n>_SOURCE: the names rise in text order, where
// a digit sorts before the underscore behind a shorter number.
U32 cBankId(U32 n) {
  std::vector<std::string> texts;
  for (U32 i = 0; i < 36; ++i) texts.push_back(std::to_string(i) + "_SOURCE");
  std::sort(texts.begin(), texts.end());
  const auto it = std::find(texts.begin(), texts.end(), std::to_string(n) + "_SOURCE");
  return Hardware::FieldIds::ENG_DB_C_BANK_0_SOURCE + static_cast<U32>(it - texts.begin());
}

// Bank b of group B at 2+2b; bank n of group C at 2+2*B+2n, B the chip's B banks.
TEST(BankSource, GroupsFollowTheChipsBankCounts) {
  struct Case {
    ChipType chip;
    U32 b, c;
  };
  for (Case k :
       {Case{C::BCM88690_B0, 0, 12}, Case{C::BCM88800_A0, 0, 36}, Case{C::BCM88850_A0, 0, 36},
        Case{C::BCM88859_A2, 0, 36}, Case{C::BCM88480_A0, 0, 8}, Case{C::BCM88480_B0, 0, 8},
        Case{C::BCM88490_A0, 5, 5}, Case{C::BCM88860_A0, 8, 8}, Case{C::BCM88870_A0, 8, 8}}) {
    SCOPED_TRACE(tc::num(k.chip));
    Mcp::WithStorage x(k.chip, 0);
    EXPECT_EQ(x.fieldCount(), 2 + k.b + k.c);
    for (U32 n = 0; n < 8; ++n) {
      const U32 id = Hardware::FieldIds::ENG_DB_B_BANK_0_SOURCE + n;
      ASSERT_EQ(x.isFieldValid(id), n < k.b) << n;
      if (n < k.b) {
        EXPECT_EQ(x.fieldOffset(id), 2 + 2 * n);
      }
    }
    // Walk group C as a caller must: by validity, through the indexed accessor.
    U32 valid = 0;
    std::vector<U8> before(12, 0);
    for (U32 n = 0; n < 36; ++n) {
      const std::string name = "engDbCBank" + std::to_string(n) + "Source";
      if (!x.isFieldValid(cBankId(n))) {
        EXPECT_GE(n, k.c);
        continue;
      }
      EXPECT_EQ(Hardware::fieldIdAccessorName(cBankId(n)), name);
      ++valid;
      x.engDbCBankSourceIs(n, 2);
      const std::vector<U8> after(x.buf(), x.buf() + 12);
      EXPECT_EQ(tc::changedOutside(before, after, 2 + 2 * k.b + 2 * n, 2), 0u) << n;
      EXPECT_EQ(x.stringField(name.c_str(), 0), 2u);
      before = after;
    }
    EXPECT_EQ(valid, k.c);
    EXPECT_EQ(x.isEngDbCBank12SourceValid(), k.c == 36);
  }
}

TEST(BankSourceDeath, Checks) {
  Mcp::WithStorage m690(C::BCM88690_B0, 0), m850(C::BCM88850_A0, 0), m860(C::BCM88860_A0, 0),
      m490(C::BCM88490_A0, 0);
  EXPECT_EQ(m850.engDbCBankSource(35), 0);
  EXPECT_EQ(m490.engDbBBankSource(4), 0);
  EXPECT_ASSERTION(m860.engDbCBankSource(35), "0");
  EXPECT_ASSERTION(m690.engDbBBankSourceIs(0, 1), "0");
  EXPECT_ASSERTION(m490.engDbBBankSource(5), "0");
  EXPECT_MESSAGE_ASSERTION(m690.engDbBBankSource(8),
                           "Array index 8 out of range for engDbBBankSource", "0");
  EXPECT_MESSAGE_ASSERTION(m860.engDbCBankSource(36),
                           "Array index 36 out of range for engDbCBankSource", "0");
  EXPECT_MESSAGE_ASSERTION(m490.engDbABankSourceIs(2, 0),
                           "Array index 2 out of range for engDbABankSourceIs", "0");
  EXPECT_MESSAGE_ASSERTION(
      m490.engDbCBank5SourceLen(),
      " chipType: BCM88490_A0 variant: 0 does not have field ENG_DB_C_BANK_5_SOURCE", "0");
}

TEST(Timestamps, TwoFullWords) {
  for (ChipType chip : tc::allChips()) {
    Eci::WithStorage e(chip, 0);
    std::fill_n(const_cast<U8*>(e.buf()) + 8, 8, 0x5a);
    e.todwNtpTimestampIs(0x1122334455667788ull);
    for (unsigned i = 0; i < 8; ++i) EXPECT_EQ(e.buf()[i], 0x88 - 0x11 * i);
    EXPECT_EQ(e.buf()[8], 0x5a);
    e.setField64(Hardware::FieldIds::TODW_IEEE_1588_TIMECODE, 0xaabbccddeeff0011ull);
    const Raw128 all = e.getAllFields();
    U64 lo, hi;
    std::memcpy(&lo, all.data(), 8);
    std::memcpy(&hi, all.data() + 8, 8);
    EXPECT_EQ(lo, 0x1122334455667788ull);
    EXPECT_EQ(hi, 0xaabbccddeeff0011ull);
    EXPECT_EQ(e.stringField("todwIeee1588Timecode", 0), 0xaabbccddeeff0011ull);
    e.stringFieldIs("todwNtpTimestamp", ~0ull);
    EXPECT_EQ(e.todwNtpTimestamp(), ~0ull);
  }
  std::vector<U8> buf(16, 0);
  Eci e8(C::BCM88690_B0, buf.data(), 8, false, 0), e15(C::BCM88690_B0, buf.data(), 15, false, 0);
  e8.todwNtpTimestampIs(1);
  EXPECT_ASSERTION(e15.todwIeee1588TimecodeIs(1), "len_ >= 16");
}

}  // namespace
