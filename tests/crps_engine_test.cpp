// Per-engine configuration of the counter processor: the engine register's
// layouts, its one field wider than 64 bits, eviction and conditional trigger,
// and the expansion map with one variant per engine.
#include <algorithm>
#include <string>

#include "TestSupport.h"

namespace {

using namespace Hardware;
using tc::allChips;
using tc::num;
namespace F = Hardware::FieldIds;

const ChipType kL1 = ChipType::BCM88690_B0, kL2 = ChipType::BCM88800_A0,
               kL3 = ChipType::BCM88850_A0, kL4 = ChipType::BCM88860_A0;

// ---------------------------------------------------------------------------
// CrpsEngineCfg

// The one field sequence of which each layout keeps a part, in bit order.
const U32 kSequence[] = {F::ENGINE_N_MODE,
                         F::ENGINE_N_WEIGHT_SHIFT_RATIO,
                         F::ENGINE_N_OVF_VALUE,
                         F::ENGINE_N_OVF_RESET_VALUE,
                         F::ENGINE_N_CLEAR_ON_READ_RESET_VALUE,
                         F::ENGINE_N_ENABLE_CLEAR_ON_OVF,
                         F::ENGINE_N_ENABLE_CLEAR_ON_READ,
                         F::ENGINE_N_PIPE_ENABLE,
                         F::ENGINE_N_SCAN_NUM_OF_SAMPLING_INTERVALS,
                         F::ENGINE_N_SCAN_PULSES_PER_SAMPLING_INTERVAL,
                         F::ENGINE_N_SCAN_PULSES_DELAY_BEFORE_COUNT,
                         F::ENGINE_N_SCAN_WAIT_TIME_BETWEEN_ALG_SCANS,
                         F::ENGINE_N_SCAN_WAIT_TIME_BETWEEN_SEQ_SCANS,
                         F::ENGINE_N_SCAN_WAIT_TIME_BETWEEN_SEQ_SCANS_SPEEDUP,
                         F::ENGINE_N_ENABLE_SCAN_WAIT_TIME_BETWEEN_SEQ_SCANS_SPEEDUP,
                         F::ENGINE_N_ENABLE_AVOID_SEQ_SCAN,
                         F::ENGINE_N_AVOID_SEQ_SCAN_VALUE,
                         F::ENGINE_N_SCAN_TIME_OUT_BEFORE_BUBBLE_REQ,
                         F::ENGINE_N_SCAN_TIME_OUT_AFTER_BUBBLE_REQ,
                         F::ENGINE_N_SCAN_MODE,
                         F::ENGINE_N_SCAN_THRESHOLD_CFG,
                         F::ENGINE_N_SCAN_PKT_THRESHOLD_CFG,
                         F::ENGINE_N_SCAN_FORCE_BUBBLE,
                         F::ENGINE_N_SCAN_BUBBLE_REQUEST_ENABLE,
                         F::ENGINE_N_SCAN_OBJECT_TYPE_FOR_DMA,
                         F::ENGINE_N_SCAN_TOD_PERIOD_COUNTER_RE_ENTER,
                         F::ENGINE_N_SCAN_DMA_RECORD_LOGICAL_SEL,
                         F::ENGINE_N_SCAN_COR_ENABLE,
                         F::ENGINE_N_SCAN_SEQ_SCAN_BASE_ADDRESS_START,
                         F::ENGINE_N_SCAN_SEQ_SCAN_BASE_ADDRESS_END,
                         F::ENGINE_N_ENABLE_CLEAR_ON_ECC_ERR,
                         F::ENGINE_N_CLEAR_ON_INIT_VALUE,
                         F::ENGINE_N_LFSR_ENABLE,
                         F::ENGINE_N_IRE_EVICTION_ENABLE,
                         F::ENGINE_N_NARROW_DUAL_LFSR_OCTETS_ENABLE,
                         F::ENGINE_N_NARROW_DUAL_LFSR_OCTETS_VALUE,
                         F::ENGINE_N_ENABLE_START_NEW_SCAN_ONLY_ON_EXTERNAL_SYNC,
                         F::ENGINE_N_WAITING_PERIOD_BEFORE_START_NEW_SCAN,
                         F::ENGINE_N_ENABLE_WAITING_PERIOD_BEFORE_START_NEW_SCAN,
                         F::ENGINE_N_ENABLE_WIDE_STATE_COUNTERS_SATURATION};

TEST(CrpsEngineCfg, LayoutsKeepTheSequenceOrderAndItsLastField) {
  const struct {
    ChipType chip;
    U32 last;
    unsigned fields;
  } layouts[] = {{kL1, F::ENGINE_N_ENABLE_CLEAR_ON_ECC_ERR, 27},
                 {kL2, F::ENGINE_N_CLEAR_ON_INIT_VALUE, 28},
                 {kL3, F::ENGINE_N_NARROW_DUAL_LFSR_OCTETS_VALUE, 29},
                 {kL4, F::ENGINE_N_ENABLE_WIDE_STATE_COUNTERS_SATURATION, 34}};
  for (const auto& l : layouts) {
    CrpsEngineCfg::WithStorage cfg(l.chip, 0);
    std::vector<U32> present;
    for (U32 id : kSequence)
      if (cfg.isFieldValid(id)) present.push_back(id);
    ASSERT_EQ(present.size(), l.fields);
    for (std::size_t i = 1; i < present.size(); ++i)
      EXPECT_EQ(cfg.fieldOffset(present[i]),
                cfg.fieldOffset(present[i - 1]) + cfg.fieldWidth(present[i - 1]))
          << chipTypeName(l.chip) << " " << fieldIdName(present[i]);
    EXPECT_EQ(present.back(), l.last);
  }
  // engineNMode widens ahead of engineNOvfValue.
  const std::pair<ChipType, U16> ovf[] = {{kL1, 11},
                                          {kL2, 12},
                                          {ChipType::BCM88480_A0, 12},
                                          {kL3, 12},
                                          {ChipType::BCM88859_A2, 12},
                                          {ChipType::BCM88490_A0, 14},
                                          {kL4, 14}};
  for (auto [chip, offset] : ovf)
    EXPECT_EQ(CrpsEngineCfg::WithStorage(chip, 0).engineNOvfValueOffset(), offset);
  EXPECT_EQ(CrpsEngineCfg::WithStorage(kL3, 0).engineNScanForceBubbleOffset(), 143);
}

TEST(CrpsEngineCfg, FieldsOfSomeLayoutsOnly) {
  const struct {
    U32 id;
    const char* layouts;  // digits of the layouts that have the field
  } partial[] = {{F::ENGINE_N_SCAN_WAIT_TIME_BETWEEN_ALG_SCANS, "12"},
                 {F::ENGINE_N_SCAN_THRESHOLD_CFG, "12"},
                 {F::ENGINE_N_SCAN_PKT_THRESHOLD_CFG, "12"},
                 {F::ENGINE_N_CLEAR_ON_INIT_VALUE, "234"},
                 {F::ENGINE_N_LFSR_ENABLE, "34"},
                 {F::ENGINE_N_IRE_EVICTION_ENABLE, "3"},
                 {F::ENGINE_N_NARROW_DUAL_LFSR_OCTETS_ENABLE, "3"},
                 {F::ENGINE_N_NARROW_DUAL_LFSR_OCTETS_VALUE, "3"},
                 {F::ENGINE_N_AVOID_SEQ_SCAN_VALUE, "4"},
                 {F::ENGINE_N_ENABLE_AVOID_SEQ_SCAN, "4"},
                 {F::ENGINE_N_ENABLE_SCAN_WAIT_TIME_BETWEEN_SEQ_SCANS_SPEEDUP, "4"},
                 {F::ENGINE_N_ENABLE_START_NEW_SCAN_ONLY_ON_EXTERNAL_SYNC, "4"},
                 {F::ENGINE_N_ENABLE_WAITING_PERIOD_BEFORE_START_NEW_SCAN, "4"},
                 {F::ENGINE_N_ENABLE_WIDE_STATE_COUNTERS_SATURATION, "4"},
                 {F::ENGINE_N_SCAN_WAIT_TIME_BETWEEN_SEQ_SCANS_SPEEDUP, "4"},
                 {F::ENGINE_N_WAITING_PERIOD_BEFORE_START_NEW_SCAN, "4"}};
  for (ChipType chip : allChips()) {
    const CrpsEngineCfg::WithStorage cfg(chip, 0);
    const U16 words = cfg.width();
    const char layout = words == 8   ? (cfg.engineNModeLen() == 5 ? '1' : '2')
                        : words == 7 ? '3'
                                     : '4';
    for (const auto& p : partial)
      EXPECT_EQ(cfg.isFieldValid(p.id), std::string(p.layouts).find(layout) != std::string::npos)
          << chipTypeName(chip) << " " << fieldIdName(p.id);
  }
  EXPECT_FALSE(CrpsEngineCfg::WithStorage(kL1, 0).isEngineNLfsrEnableValid());
  EXPECT_TRUE(
      CrpsEngineCfg::WithStorage(ChipType::BCM88859_A2, 0).isEngineNIreEvictionEnableValid());
}

// A field the chip's layout lacks answers no and stops the same way on every
// path: typed, by id and by name.
TEST(CrpsEngineCfg, AbsentFieldsStopOnEveryPath) {
  const struct {
    ChipType chip;
    U32 id;
  } absent[] = {{kL1, F::ENGINE_N_LFSR_ENABLE},
                {kL3, F::ENGINE_N_SCAN_THRESHOLD_CFG},
                {kL4, F::ENGINE_N_IRE_EVICTION_ENABLE},
                {kL1, F::ENGINE_N_AVOID_SEQ_SCAN_VALUE}};
  for (const auto& a : absent) {
    CrpsEngineCfg::WithStorage cfg(a.chip, 0);
    const String name(fieldIdAccessorName(a.id));
    EXPECT_FALSE(cfg.isFieldValid(a.id));
    EXPECT_EQ(cfg.fieldWidth(a.id), 0);
    EXPECT_ASSERTION(cfg.fieldOffset(a.id), "0");
    EXPECT_ASSERTION(cfg.stringField(name, 0), "0");
    if (a.id != F::ENGINE_N_AVOID_SEQ_SCAN_VALUE) {
      EXPECT_ASSERTION(cfg.setField64(a.id, 0), "0");
      EXPECT_ASSERTION(cfg.stringFieldIs(name, 0), "0");
    }
  }
  CrpsEngineCfg::WithStorage l1(kL1, 0);
  EXPECT_ASSERTION(l1.engineNLfsrEnable(), "0");
  EXPECT_ASSERTION(l1.engineNLfsrEnableIs(1), "0");
  EXPECT_ASSERTION(l1.engineNLfsrEnableOffset(), "0");
  EXPECT_MESSAGE_ASSERTION(l1.engineNLfsrEnableLen(), " does not have field ENGINE_N_LFSR_ENABLE",
                           "0");
  EXPECT_MESSAGE_ASSERTION(l1.engineNAvoidSeqScanValueLen(),
                           " does not have field ENGINE_N_AVOID_SEQ_SCAN_VALUE", "0");
  EXPECT_EQ(CrpsEngineCfg::WithStorage(kL3, 0).engineNLfsrEnableOffset(), 201);
  EXPECT_EQ(CrpsEngineCfg::WithStorage(kL4, 0).engineNLfsrEnableOffset(), 309);
}

TEST(CrpsEngineCfg, ValueChecksFollowTheChipsWidth) {
  CrpsEngineCfg::WithStorage l1(kL1, 0), l2(kL2, 0), l4(kL4, 0), b(ChipType::BCM88480_B0, 0);
  l1.engineNModeIs(31);
  EXPECT_ASSERTION(l1.engineNModeIs(32), "value <= 0x1f");
  EXPECT_ASSERTION(l2.engineNModeIs(64), "value <= 0x3f");
  l4.engineNModeIs(255);
  EXPECT_EQ(l4.engineNMode(), 255);

  // Wider parameter than the narrow chip needs, 8 or 16 bits there: no check.
  l1.engineNOvfValueIs(0x1ff);
  EXPECT_EQ(l1.engineNOvfValue(), 0xffu);
  EXPECT_ASSERTION(l2.engineNOvfValueIs(0x40000), "value <= 0x3ffff");
  EXPECT_ASSERTION(l1.engineNScanSeqScanBaseAddressStartIs(0x8000), "value <= 0x7fff");
  l2.engineNScanSeqScanBaseAddressStartIs(0x12345);
  EXPECT_EQ(l2.engineNScanSeqScanBaseAddressStart(), 0x2345u);
  b.engineNScanSeqScanBaseAddressEndIs(0xfffff);
  EXPECT_EQ(b.engineNScanSeqScanBaseAddressEnd(), 0xffffu);
  EXPECT_ASSERTION(l4.engineNScanSeqScanBaseAddressStartIs(0x20000), "value <= 0x1ffff");
  EXPECT_ASSERTION(l1.engineNClearOnReadResetValueIs(2), "value <= 0x1");
  EXPECT_ASSERTION(l2.engineNClearOnReadResetValueIs(4), "value <= 0x3");
}

TEST(CrpsEngineCfg, LengthIsCheckedPerFieldAndWholeForGetAllFields) {
  std::vector<U8> buf(12, 0);
  CrpsEngineCfg onTwelve(kL4, buf.data(), 12, false, 0);
  EXPECT_ASSERTION(onTwelve.engineNScanCorEnable(), "len_ >= 35");

  std::vector<U8> zeros(25, 0);
  CrpsEngineCfg l1(kL1, zeros.data(), 25, false, 0);
  l1.engineNScanCorEnableIs(1);
  EXPECT_EQ(zeros[24], 0x10);
  EXPECT_EQ(tc::changedOutside(std::vector<U8>(25, 0), zeros, 196, 1), 0u);
  EXPECT_ASSERTION(CrpsEngineCfg(kL1, zeros.data(), 24, false, 0).engineNScanCorEnableIs(1),
                   "len_ >= 25");
  EXPECT_ASSERTION(l1.engineNScanCorEnableIs(2), "value <= 0x1");

  std::vector<U8> reg(28, 0xff);
  EXPECT_ASSERTION(CrpsEngineCfg(kL3, reg.data(), 28, false, 0).getAllFields(), "len_ >= 44");
}

// engineNAvoidSeqScanValue: 72 bits, bits 142 to 213, reachable by name word by
// word but never through a 64-bit value.
TEST(CrpsEngineCfg, WideFieldReadsByWordAndRefusesSixtyFourBitWrites) {
  const std::vector<U8> original = tc::randomBytes(44, 3);
  std::vector<U8> buf = original;
  CrpsEngineCfg cfg(kL4, buf.data(), 44, false, 0);
  Raw128 value;
  value.fill(0xff);
  cfg.engineNAvoidSeqScanValueIs(value);
  EXPECT_EQ(tc::changedOutside(original, buf, 142, 72), 0u);
  for (unsigned bit = 142; bit < 214; ++bit) ASSERT_TRUE(tc::bitOf(buf, bit));

  const Raw128 read = cfg.engineNAvoidSeqScanValue();
  EXPECT_TRUE(std::all_of(read.begin(), read.begin() + 9, [](U8 b) { return b == 0xff; }));
  EXPECT_TRUE(std::all_of(read.begin() + 9, read.end(), [](U8 b) { return b == 0; }));
  EXPECT_EQ(cfg.stringField("engineNAvoidSeqScanValue", 0), ~U64{0});
  EXPECT_EQ(cfg.stringField("engineNAvoidSeqScanValue", 1), 0xffu);
  EXPECT_EQ(cfg.fieldWidth(F::ENGINE_N_AVOID_SEQ_SCAN_VALUE), 72);
  EXPECT_EQ(cfg.fieldOffset(F::ENGINE_N_AVOID_SEQ_SCAN_VALUE), 142);

  EXPECT_ASSERTION(cfg.setField64(F::ENGINE_N_AVOID_SEQ_SCAN_VALUE, 1), "false");
  EXPECT_ASSERTION(cfg.stringFieldIs("engineNAvoidSeqScanValue", 1), "false");
  EXPECT_ASSERTION(CrpsEngineCfg(kL4, buf.data(), 26, false, 0).engineNAvoidSeqScanValueIs(value),
                   "len_ >= 27");
  EXPECT_MESSAGE_ASSERTION(cfg.stringField("engineNAvoidSeqScanvalue", 0), "fieldName not found.",
                           "false");
  EXPECT_MESSAGE_ASSERTION(cfg.stringFieldIs("EngineNMode", 0), "fieldName not found or is const.",
                           "false");
}

// ---------------------------------------------------------------------------
// CrpsEngineEvictionCfg and CrpsEngineConditionalTriggerCfg

TEST(CrpsEngineEvictionCfg, StraddlingFieldsAndLimits) {
  std::vector<U8> buf(64, 0);
  CrpsEngineEvictionCfg ev(ChipType::BCM88490_A0, buf.data(), 64, false, 0);
  ev.engineNNarrowEvictionLfsrMInitValIs(0xffffffff);
  U32 word14, word15;
  std::memcpy(&word14, &buf[56], 4);
  std::memcpy(&word15, &buf[60], 4);
  EXPECT_EQ(word14, 0xfffffffcu);
  EXPECT_EQ(word15, 0x3u);
  EXPECT_ASSERTION(CrpsEngineEvictionCfg(ChipType::BCM88490_A0, buf.data(), 60, false, 0)
                       .engineNNarrowEvictionLfsrMInitValIs(0),
                   "len_ >= 61");
  EXPECT_ASSERTION(ev.engineNAccTestMaskIs(0x80000), "value <= 0x7ffff");
  EXPECT_ASSERTION(ev.engineNWideEvictionTestMaskIs(0x1000), "value <= 0xfff");
  EXPECT_ASSERTION(ev.engineNWideEvictionAlwaysValidIs(2), "value <= 0x1");
}

TEST(CrpsEngineConditionalTriggerCfg, SourceWidthMovesTheLastFields) {
  CrpsEngineConditionalTriggerCfg::WithStorage narrow(ChipType::BCM88850_A0, 0), wide(kL4, 0);
  EXPECT_ASSERTION(narrow.crpsEngineNConditionalTriggerSourceIs(0x400000000),
                   "value <= 0x3ffffffff");
  wide.crpsEngineNConditionalTriggerSourceIs(0x400000000);
  EXPECT_EQ(wide.crpsEngineNConditionalTriggerSource(), 0x400000000u);
  EXPECT_ASSERTION(wide.crpsEngineNConditionalTriggerSourceIs(0x1000000000),
                   "value <= 0xfffffffff");
  EXPECT_EQ(narrow.crpsEngineNConditionalTriggerActionOffset(), 40);
  EXPECT_EQ(wide.crpsEngineNConditionalTriggerActionOffset(), 42);
  std::vector<U8> buf(5, 0);
  EXPECT_ASSERTION(CrpsEngineConditionalTriggerCfg(kL4, buf.data(), 5, false, 0)
                       .crpsEngineNConditionalTriggerOperationSelIs(1),
                   "len_ >= 6");
  CrpsEngineConditionalTriggerCfg(ChipType::BCM88850_A0, buf.data(), 5, false, 0)
      .crpsEngineNConditionalTriggerOperationSelIs(0xf);
  EXPECT_EQ(buf[4], 0xf0);
}

// ---------------------------------------------------------------------------
// CrpsExpansionMapMem: variant e is engine e, whose table is element e - g of
// the group that starts at variant g.

struct Group {
  ChipType chip;
  U8 first, last;
  U32 base, lastAddress;
};

TEST(CrpsExpansionMapMem, GroupsOfEnginesHaveTheirOwnBaseAndBound) {
  const Group groups[] = {{ChipType::BCM88690_B0, 0, 7, 32768, 40959},
                          {ChipType::BCM88690_B0, 8, 15, 98304, 106495},
                          {ChipType::BCM88690_B0, 16, 21, 163840, 169983},
                          {ChipType::BCM88800_A0, 0, 7, 90112, 98303},
                          {ChipType::BCM88800_A0, 8, 15, 155648, 163839},
                          {ChipType::BCM88800_A0, 16, 33, 229376, 247807},
                          {ChipType::BCM88850_A0, 0, 33, 65536, 100351},
                          {ChipType::BCM88859_A2, 0, 33, 65536, 100351},
                          {ChipType::BCM88480_A0, 0, 3, 8192, 12287},
                          {ChipType::BCM88480_B0, 4, 9, 24576, 30719},
                          {ChipType::BCM88480_A0, 10, 13, 73728, 77823},
                          {ChipType::BCM88490_A0, 0, 21, 32768, 55295},
                          {ChipType::BCM88870_A0, 0, 31, 32768, 65535}};
  for (const Group& g : groups) {
    const U32 elements = g.last - g.first + 1;
    for (U8 v : {g.first, g.last}) {
      SCOPED_TRACE(std::string(chipTypeName(g.chip)) + " variant " + std::to_string(v));
      const U32 c = num(g.chip);
      EXPECT_EQ(CrpsExpansionMapMem::arrayElements(c, v), elements);
      U32 address = 0, subBlock, block;
      ASSERT_TRUE(CrpsExpansionMapMem::getSchanAddress(c, v, address, subBlock, block, 0, 0, 0));
      EXPECT_EQ(address, g.base);
      ASSERT_TRUE(CrpsExpansionMapMem::getSchanAddress(c, v, address, subBlock, block,
                                                       CrpsExpansionMapMem::instanceCount(c, v) - 1,
                                                       1023, static_cast<U16>(elements - 1)));
      EXPECT_EQ(address, g.lastAddress);
      EXPECT_ASSERTION(CrpsExpansionMapMem::getSchanAddress(c, v, address, subBlock, block, 0, 0,
                                                            static_cast<U16>(elements)),
                       "arrayIndex < " + std::to_string(elements));
      EXPECT_ASSERTION(
          CrpsExpansionMapMem::getSchanAddress(c, v, address, subBlock, block, 9, 1024, 99),
          "tableEntry < 1024");
    }
  }
  // Engine 20 of 88800 is element 4 of the third group; engine 13 of 88480x element 3.
  U32 address, subBlock, block;
  ASSERT_TRUE(CrpsExpansionMapMem::getSchanAddress(11, 20, address, subBlock, block, 0, 0, 4));
  EXPECT_EQ(address, 233472u);
  ASSERT_TRUE(CrpsExpansionMapMem::getSchanAddress(16, 13, address, subBlock, block, 0, 0, 3));
  EXPECT_EQ(address, 76800u);
}

TEST(CrpsExpansionMapMem, VariantsAreEnginesCountedByChip) {
  const std::pair<ChipType, U32> engines[] = {
      {ChipType::BCM88690_B0, 22}, {ChipType::BCM88800_A0, 34}, {ChipType::BCM88850_A0, 34},
      {ChipType::BCM88859_A2, 34}, {ChipType::BCM88480_A0, 14}, {ChipType::BCM88480_B0, 14},
      {ChipType::BCM88490_A0, 22}, {ChipType::BCM88860_A0, 32}, {ChipType::BCM88870_A0, 32}};
  for (auto [chip, count] : engines) {
    EXPECT_EQ(CrpsExpansionMapMem::tableVariantCount(num(chip)), count);
    EXPECT_TRUE(CrpsExpansionMapMem::chipTypeVariantValid(chip, static_cast<U8>(count - 1)));
    EXPECT_FALSE(CrpsExpansionMapMem::chipTypeVariantValid(chip, static_cast<U8>(count)));
    CrpsExpansionMapMem::WithStorage last(chip, static_cast<U8>(count - 1));
    EXPECT_EQ(last.tableVariantCount(), count);
    const Orrery::EntrySpans spans = last.entrySpans();
    ASSERT_EQ(spans.count, 1u);
    EXPECT_EQ(spans.spans[0].firstEntry, 0u);
    EXPECT_EQ(spans.spans[0].size, 1024u);
  }
  for (U32 foreign : {0u, 13u, 18u, 19u, 22u, 27u})
    EXPECT_EQ(CrpsExpansionMapMem::tableVariantCount(foreign), 0u);
  EXPECT_MESSAGE_ASSERTION(CrpsExpansionMapMem::WithStorage(ChipType::BCM88690_B0, 22),
                           " not in metainfo for CrpsExpansionMapMem!", "0");
  EXPECT_ASSERTION(CrpsExpansionMapMem::width(10, 22), "0");
}

TEST(CrpsExpansionMapMem, SetIndexExistsOnTheWideChipsOnly) {
  CrpsExpansionMapMem::WithStorage narrow(ChipType::BCM88690_B0, 0), wide(ChipType::BCM88890_A0, 5);
  EXPECT_FALSE(narrow.isCrpsExpansionDataSetIdxValid());
  EXPECT_MESSAGE_ASSERTION(narrow.crpsExpansionDataSetIdxLen(),
                           " does not have field CRPS_EXPANSION_DATA_SET_IDX", "0");
  EXPECT_ASSERTION(narrow.crpsExpansionDataSetIdxIs(1), "0");
  EXPECT_ASSERTION(narrow.setField64(F::CRPS_EXPANSION_DATA_SET_IDX, 1), "0");
  EXPECT_ASSERTION(narrow.stringField("crpsExpansionDataSetIdx", 0), "0");
  EXPECT_EQ(narrow.fieldWidth(F::CRPS_EXPANSION_DATA_SET_IDX), 0);
  for (auto* m : {&narrow, &wide}) {
    m->crpsExpansionDataOffsetIs(0x1f);
    m->crpsExpansionDataAdmissionIs(1);
    EXPECT_ASSERTION(m->crpsExpansionDataOffsetIs(32), "value <= 0x1f");
    EXPECT_ASSERTION(m->crpsExpansionDataAdmissionIs(2), "value <= 0x1");
  }
  wide.crpsExpansionDataSetIdxIs(1);
  EXPECT_EQ(narrow.getAllFields(), 0x3fu);
  EXPECT_EQ(wide.getAllFields(), 0x7fu);
  EXPECT_EQ(narrow.crpsExpansionDataOffsetOffset(), 0);
  EXPECT_EQ(wide.crpsExpansionDataOffsetLen(), 5);
}

}  // namespace
