// The counter processor: per-engine configuration (four layouts of one field
// sequence, a field wider than 64 bits, eviction and conditional trigger), the
// expansion map with one variant per engine, and the interface adapter whose
// variant selects the register. Field exactness, masks and lengths are proven
// catalogue-wide; here are the sheets' layouts, addresses and edge cases.
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

bool wideChip(ChipType c) {
  return c == ChipType::BCM88490_A0 || num(c) >= 17;
}

// ---------------------------------------------------------------------------
// CrpsEngineCfg

// The one field sequence of which each layout keeps a part, in bit order.
// clang-format off
const U32 kSequence[] = {
    F::ENGINE_N_MODE, F::ENGINE_N_WEIGHT_SHIFT_RATIO, F::ENGINE_N_OVF_VALUE,
    F::ENGINE_N_OVF_RESET_VALUE, F::ENGINE_N_CLEAR_ON_READ_RESET_VALUE,
    F::ENGINE_N_ENABLE_CLEAR_ON_OVF, F::ENGINE_N_ENABLE_CLEAR_ON_READ, F::ENGINE_N_PIPE_ENABLE,
    F::ENGINE_N_SCAN_NUM_OF_SAMPLING_INTERVALS, F::ENGINE_N_SCAN_PULSES_PER_SAMPLING_INTERVAL,
    F::ENGINE_N_SCAN_PULSES_DELAY_BEFORE_COUNT, F::ENGINE_N_SCAN_WAIT_TIME_BETWEEN_ALG_SCANS,
    F::ENGINE_N_SCAN_WAIT_TIME_BETWEEN_SEQ_SCANS,
    F::ENGINE_N_SCAN_WAIT_TIME_BETWEEN_SEQ_SCANS_SPEEDUP,
    F::ENGINE_N_ENABLE_SCAN_WAIT_TIME_BETWEEN_SEQ_SCANS_SPEEDUP, F::ENGINE_N_ENABLE_AVOID_SEQ_SCAN,
    F::ENGINE_N_AVOID_SEQ_SCAN_VALUE, F::ENGINE_N_SCAN_TIME_OUT_BEFORE_BUBBLE_REQ,
    F::ENGINE_N_SCAN_TIME_OUT_AFTER_BUBBLE_REQ, F::ENGINE_N_SCAN_MODE,
    F::ENGINE_N_SCAN_THRESHOLD_CFG, F::ENGINE_N_SCAN_PKT_THRESHOLD_CFG,
    F::ENGINE_N_SCAN_FORCE_BUBBLE, F::ENGINE_N_SCAN_BUBBLE_REQUEST_ENABLE,
    F::ENGINE_N_SCAN_OBJECT_TYPE_FOR_DMA, F::ENGINE_N_SCAN_TOD_PERIOD_COUNTER_RE_ENTER,
    F::ENGINE_N_SCAN_DMA_RECORD_LOGICAL_SEL, F::ENGINE_N_SCAN_COR_ENABLE,
    F::ENGINE_N_SCAN_SEQ_SCAN_BASE_ADDRESS_START, F::ENGINE_N_SCAN_SEQ_SCAN_BASE_ADDRESS_END,
    F::ENGINE_N_ENABLE_CLEAR_ON_ECC_ERR, F::ENGINE_N_CLEAR_ON_INIT_VALUE, F::ENGINE_N_LFSR_ENABLE,
    F::ENGINE_N_IRE_EVICTION_ENABLE, F::ENGINE_N_NARROW_DUAL_LFSR_OCTETS_ENABLE,
    F::ENGINE_N_NARROW_DUAL_LFSR_OCTETS_VALUE,
    F::ENGINE_N_ENABLE_START_NEW_SCAN_ONLY_ON_EXTERNAL_SYNC,
    F::ENGINE_N_WAITING_PERIOD_BEFORE_START_NEW_SCAN,
    F::ENGINE_N_ENABLE_WAITING_PERIOD_BEFORE_START_NEW_SCAN,
    F::ENGINE_N_ENABLE_WIDE_STATE_COUNTERS_SATURATION};
// clang-format on

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
  // clang-format off
  const std::pair<ChipType, U16> ovf[] = {{kL1, 11}, {kL2, 12}, {ChipType::BCM88480_A0, 12},
      {kL3, 12}, {ChipType::BCM88859_A2, 12}, {ChipType::BCM88490_A0, 14}, {kL4, 14}};
  // clang-format on
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

// A field the chip's layout lacks stops on every path: typed, by id and by name.
TEST(CrpsEngineCfg, AbsentFieldsStopOnEveryPath) {
  CrpsEngineCfg::WithStorage l1(kL1, 0);
  const U32 id = F::ENGINE_N_LFSR_ENABLE;
  EXPECT_EQ(l1.fieldWidth(id), 0);
  EXPECT_ASSERTION(l1.fieldOffset(id), "0");
  EXPECT_ASSERTION(l1.setField64(id, 0), "0");
  EXPECT_ASSERTION(l1.stringField("engineNLfsrEnable", 0), "0");
  EXPECT_ASSERTION(l1.stringFieldIs("engineNLfsrEnable", 0), "0");
  EXPECT_ASSERTION(l1.engineNLfsrEnable(), "0");
  EXPECT_ASSERTION(l1.engineNLfsrEnableIs(1), "0");
  EXPECT_ASSERTION(l1.engineNLfsrEnableOffset(), "0");
  EXPECT_MESSAGE_ASSERTION(l1.engineNLfsrEnableLen(), " does not have field ENGINE_N_LFSR_ENABLE",
                           "0");
  EXPECT_ASSERTION(l1.stringField("engineNAvoidSeqScanValue", 0), "0");
  EXPECT_MESSAGE_ASSERTION(l1.engineNAvoidSeqScanValueLen(),
                           " does not have field ENGINE_N_AVOID_SEQ_SCAN_VALUE", "0");
  EXPECT_EQ(CrpsEngineCfg::WithStorage(kL3, 0).engineNLfsrEnableOffset(), 201);
  EXPECT_EQ(CrpsEngineCfg::WithStorage(kL4, 0).engineNLfsrEnableOffset(), 309);
}

// Widths by chip; at 8 or 16 bits the wider parameter is cut without a check.
TEST(CrpsEngineCfg, WidthsFollowTheChip) {
  CrpsEngineCfg::WithStorage l1(kL1, 0), l2(kL2, 0), l4(kL4, 0), b(ChipType::BCM88480_B0, 0);
  EXPECT_EQ(l1.engineNModeLen(), 5);
  EXPECT_EQ(l2.engineNModeLen(), 6);
  EXPECT_EQ(l4.engineNModeLen(), 8);
  EXPECT_EQ(l2.engineNOvfValueLen(), 18);
  EXPECT_EQ(l1.engineNScanSeqScanBaseAddressStartLen(), 15);
  EXPECT_EQ(l4.engineNScanSeqScanBaseAddressStartLen(), 17);
  EXPECT_EQ(l1.engineNClearOnReadResetValueLen(), 1);
  EXPECT_EQ(l2.engineNClearOnReadResetValueLen(), 2);
  l4.engineNModeIs(255);
  EXPECT_EQ(l4.engineNMode(), 255);
  l1.engineNOvfValueIs(0x1ff);
  EXPECT_EQ(l1.engineNOvfValue(), 0xffu);
  l2.engineNScanSeqScanBaseAddressStartIs(0x12345);
  EXPECT_EQ(l2.engineNScanSeqScanBaseAddressStart(), 0x2345u);
  b.engineNScanSeqScanBaseAddressEndIs(0xfffff);
  EXPECT_EQ(b.engineNScanSeqScanBaseAddressEnd(), 0xffffu);
  // Bit 196 is bit 4 of byte 24 on 88690; the whole entry is 44 bytes.
  std::vector<U8> zeros(25, 0);
  CrpsEngineCfg(kL1, zeros.data(), 25, false, 0).engineNScanCorEnableIs(1);
  EXPECT_EQ(zeros[24], 0x10);
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
    }
  }
  // Engine 20 of 88800 is element 4 of the third group; engine 13 of 88480x element 3.
  U32 address, subBlock, block;
  ASSERT_TRUE(CrpsExpansionMapMem::getSchanAddress(11, 20, address, subBlock, block, 0, 0, 4));
  EXPECT_EQ(address, 233472u);
  ASSERT_TRUE(CrpsExpansionMapMem::getSchanAddress(16, 13, address, subBlock, block, 0, 0, 3));
  EXPECT_EQ(address, 76800u);
  EXPECT_ASSERTION(CrpsExpansionMapMem::getSchanAddress(11, 20, address, subBlock, block, 0, 0, 18),
                   "arrayIndex < 18");
  EXPECT_ASSERTION(
      CrpsExpansionMapMem::getSchanAddress(11, 20, address, subBlock, block, 9, 1024, 99),
      "tableEntry < 1024");
}

TEST(CrpsExpansionMapMem, VariantsAreEnginesCountedByChip) {
  const std::pair<ChipType, U32> engines[] = {
      {ChipType::BCM88690_B0, 22}, {ChipType::BCM88800_A0, 34}, {ChipType::BCM88850_A0, 34},
      {ChipType::BCM88480_A0, 14}, {ChipType::BCM88490_A0, 22}, {ChipType::BCM88870_A0, 32}};
  for (auto [chip, count] : engines) {
    EXPECT_EQ(CrpsExpansionMapMem::tableVariantCount(num(chip)), count);
    const Orrery::EntrySpans spans = CrpsExpansionMapMem::entrySpans(num(chip), count - 1);
    ASSERT_EQ(spans.count, 1u);
    EXPECT_EQ(spans.spans[0].size, 1024u);
  }
  EXPECT_EQ(CrpsExpansionMapMem::tableVariantCount(13), 0u);
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
  EXPECT_EQ(narrow.crpsExpansionDataOffsetOffset(), 0);
  EXPECT_EQ(wide.crpsExpansionDataOffsetLen(), 5);
}

// ---------------------------------------------------------------------------
// Layouts: the fields of each row never overlap and fill bits 0 to the used
// bits of the sheets' layout tables; the rows are exactly the given number.

void checkTiling(const char* cls, unsigned rows, unsigned (*used)(ChipType, U8)) {
  unsigned seen = 0;
  for (ChipType chip : allChips())
    for (unsigned v = 0; v < 40; ++v) {
      if (!Hardware::chipTypeVariantValid(cls, chip, static_cast<U8>(v))) continue;
      ++seen;
      auto o = stringObj(cls, chip, static_cast<U8>(v));
      std::vector<int> owners(8 * o->len(), 0);
      for (U32 id = F::kFirst; id <= F::kLast; ++id)
        if (o->isFieldValid(id))
          for (unsigned b = o->fieldOffset(id); b < o->fieldOffset(id) + o->fieldWidth(id); ++b)
            ++owners[b];
      const unsigned end = used(chip, static_cast<U8>(v));
      for (unsigned b = 0; b < owners.size(); ++b)
        ASSERT_EQ(owners[b], b < end ? 1 : 0)
            << cls << " " << num(chip) << " v" << v << " bit " << b;
    }
  EXPECT_EQ(seen, rows) << cls;
}

TEST(CrpsLayouts, FieldsTileTheUsedBits) {
  checkTiling("CrpsEngineCfg", 13, [](ChipType c, U8) {
    return c == kL1                                                               ? 228u
           : c == kL2 || c == ChipType::BCM88480_A0 || c == ChipType::BCM88480_B0 ? 243u
           : wideChip(c)                                                          ? 345u
                                                                                  : 218u;
  });
  checkTiling("CrpsEngineEvictionCfg", 7, [](ChipType, U8) { return 482u; });
  checkTiling("CrpsEngineConditionalTriggerCfg", 9,
              [](ChipType c, U8) { return wideChip(c) ? 47u : 45u; });
  checkTiling("CrpsExpansionMapMem", 366, [](ChipType c, U8) { return wideChip(c) ? 7u : 6u; });
  checkTiling("CrpsIfAdapterCfg", 13, [](ChipType c, U8) { return wideChip(c) ? 18u : 156u; });
  checkTiling("CrpsIfAdapterCgmTmCfg", 7, [](ChipType, U8) { return 44u; });
  checkTiling("CrpsIfAdapterCgmIrppCfg", 130,
              [](ChipType c, U8 v) { return (v < 8 ? 16u : 8u) * (wideChip(c) ? 48u : 36u); });
  checkTiling("CrpsIfAdapterEgqEppCtrCfg", 6 * 24 + 7 * 32, [](ChipType c, U8 v) {
    return !wideChip(c) ? 577u : v < 18 ? 446u : 337u;
  });
}

// ---------------------------------------------------------------------------
// Addresses of the register arrays: first element of the first instance and
// last element of the last instance, per chip set of the sheets.

std::string chipSet(ChipType c) {
  // clang-format off
  switch (c) {
    case ChipType::BCM88690_B0: return "88690";
    case ChipType::BCM88800_A0: return "88800";
    case ChipType::BCM88850_A0: return "88850";
    case ChipType::BCM88859_A2: return "88859";
    case ChipType::BCM88480_A0: case ChipType::BCM88480_B0: return "88480x";
    case ChipType::BCM88490_A0: return "88490";
    default: return "88860x";
  }
  // clang-format on
}

U16 crpsInstances(ChipType c) {
  const std::string s = chipSet(c);
  return s == "88690" || s == "88850" ? 2 : s == "88860x" ? 4 : 1;
}

struct RegisterRow {
  const char* set;
  U32 base;
  U32 elements;
};

template <class T>
void checkRegisterAddresses(const std::vector<RegisterRow>& rows, U8 variant = 0) {
  for (ChipType chip : allChips()) {
    const U32 c = num(chip);
    const RegisterRow* row = nullptr;
    for (const RegisterRow& r : rows)
      if (chipSet(chip) == r.set) row = &r;
    SCOPED_TRACE(std::string(chipTypeName(chip)) + " variant " + std::to_string(variant));
    U32 address = 7, subBlock = 7, block = 7;
    if (row == nullptr) {
      EXPECT_FALSE(T::getSchanAddress(c, variant, address, subBlock, block, 0, 0, 0));
      continue;
    }
    const U16 last = static_cast<U16>(row->elements - 1);
    ASSERT_TRUE(T::getSchanAddress(c, variant, address, subBlock, block, 0, 0, 0));
    EXPECT_EQ(address, row->base);
    ASSERT_TRUE(
        T::getSchanAddress(c, variant, address, subBlock, block, crpsInstances(chip) - 1, 0, last));
    EXPECT_EQ(address, row->base + last);
    EXPECT_EQ(T::arrayElements(c, variant), row->elements);
    EXPECT_EQ(T::instanceCount(c, variant), crpsInstances(chip));
  }
}

TEST(CrpsAddresses, PerEngineRegisters) {
  // clang-format off
  checkRegisterAddresses<CrpsEngineCfg>({{"88690", 268, 22}, {"88800", 313, 34}, {"88850", 308, 34},
      {"88859", 308, 34}, {"88480x", 288, 14}, {"88490", 318, 22}, {"88860x", 338, 32}});
  // clang-format on
  checkRegisterAddresses<CrpsEngineEvictionCfg>({{"88490", 296, 22}, {"88860x", 306, 32}});
  checkRegisterAddresses<CrpsEngineConditionalTriggerCfg>(
      {{"88850", 549, 34}, {"88859", 549, 34}, {"88490", 491, 22}, {"88860x", 635, 32}});
}

TEST(CrpsAddresses, InterfaceAdapterRegisters) {
  // Per chip set: the common register, the three CGM IRPP registers (variants
  // 0-3, 4-7, 8-9), the EGQ EPP registers of variants 0-17 and 18-31, CGM TM.
  const struct {
    const char* set;
    U32 cfg, irpp[3], egqLow, egqHigh, tm;
  } rows[] = {{"88690", 378, {382, 384, 386}, 380, 380, 0},
              {"88800", 471, {475, 477, 479}, 473, 473, 0},
              {"88850", 466, {470, 472, 474}, 468, 468, 0},
              {"88859", 466, {470, 472, 474}, 468, 468, 0},
              {"88480x", 366, {370, 372, 374}, 368, 368, 0},
              {"88490", 428, {434, 438, 440}, 430, 432, 436},
              {"88860x", 552, {558, 562, 564}, 554, 556, 560}};
  const auto column = [&](auto pick) {
    std::vector<RegisterRow> out;
    for (const auto& r : rows)
      if (pick(r) != 0) out.push_back({r.set, pick(r), 1});
    return out;
  };
  checkRegisterAddresses<CrpsIfAdapterCfg>(column([](const auto& r) { return r.cfg; }));
  checkRegisterAddresses<CrpsIfAdapterCgmTmCfg>(column([](const auto& r) { return r.tm; }));
  for (U8 v : {0, 3, 4, 7, 8, 9})
    checkRegisterAddresses<CrpsIfAdapterCgmIrppCfg>(
        column([v](const auto& r) { return r.irpp[v / 4]; }), v);
  for (U8 v : {0, 17, 18, 23})
    checkRegisterAddresses<CrpsIfAdapterEgqEppCtrCfg>(
        column([v](const auto& r) { return v < 18 ? r.egqLow : r.egqHigh; }), v);
  checkRegisterAddresses<CrpsIfAdapterEgqEppCtrCfg>({{"88490", 432, 1}, {"88860x", 556, 1}}, 31);
}

// The block map of the counter processor: the pair depends on the chip and
// the identifier, not on the class, the variant or the element.
TEST(CrpsAddresses, SubBlockAndBlockFollowTheInstance) {
  U32 address, subBlock, block;
  ASSERT_TRUE(CrpsEngineCfg::getSchanAddress(10, 0, address, subBlock, block, 0, 0, 21));
  EXPECT_EQ(std::make_pair(subBlock, block), std::make_pair(2u, 1u));
  ASSERT_TRUE(CrpsEngineCfg::getSchanAddress(10, 0, address, subBlock, block, 1, 0, 0));
  EXPECT_EQ(std::make_pair(subBlock, block), std::make_pair(16u, 8u));
  ASSERT_TRUE(CrpsExpansionMapMem::getSchanAddress(26, 31, address, subBlock, block, 3, 1023, 31));
  EXPECT_EQ(std::make_pair(subBlock, block), std::make_pair(0u, 873u));
  ASSERT_TRUE(
      CrpsIfAdapterEgqEppCtrCfg::getSchanAddress(17, 31, address, subBlock, block, 2, 0, 0));
  EXPECT_EQ(std::make_pair(subBlock, block), std::make_pair(0u, 617u));
}

// ---------------------------------------------------------------------------
// The interface adapter

TEST(CrpsIfAdapterCfg, IndexedAccessorsReachTheirFieldsOrStop) {
  for (ChipType chip : allChips()) {
    CrpsIfAdapterCfg::WithStorage cfg(chip, 0);
    cfg.cgmTmPktsizeNotQsizeSelIs(1, 1);
    EXPECT_EQ(cfg.getAllFields()[0], 0x02);
    EXPECT_EQ(cfg.cgmTmPktsizeNotQsizeSelB(), 1);
    EXPECT_EQ(cfg.isEgqErppCtr0ExpansionSelectAValid(), !wideChip(chip));
    EXPECT_EQ(cfg.isPmfaAdditionalPtrBitsFoldedInDataValid(), wideChip(chip));
    EXPECT_EQ(cfg.cgmIrppPacketSizeSelectOffset(), wideChip(chip) ? 2 : 146);
  }
  CrpsIfAdapterCfg::WithStorage narrow(kL1, 0), wide(kL4, 0);
  EXPECT_MESSAGE_ASSERTION(narrow.cgmTmPktsizeNotQsizeSel(2),
                           "Array index 2 out of range for cgmTmPktsizeNotQsizeSel", "0");
  EXPECT_MESSAGE_ASSERTION(wide.erppExpansionSelectAByInterface(2),
                           "Array index 2 out of range for erppExpansionSelectAByInterface", "0");
  EXPECT_MESSAGE_ASSERTION(narrow.erppExpansionSelectDByInterfaceIs(7, 0),
                           "Array index 7 out of range for erppExpansionSelectDByInterfaceIs", "0");
  // On the wide chips the selects are gone, their indexed accessors stay:
  // index 0 and 1 stop inside the field's accessor, without a message.
  EXPECT_ASSERTION(wide.erppExpansionSelectAByInterface(0), "0");
  EXPECT_ASSERTION(wide.erppExpansionSelectCByInterfaceIs(1, 0), "0");
  EXPECT_ASSERTION(wide.setField64(F::EGQ_ERPP_CTR_1_EXPANSION_SELECT_C, 0), "0");
  EXPECT_ASSERTION(wide.stringField("itppLtncyCtrExpansionSelectA", 0), "0");
  EXPECT_MESSAGE_ASSERTION(wide.egqErppCtr0ExpansionSelectALen(),
                           " does not have field EGQ_ERPP_CTR_0_EXPANSION_SELECT_A", "0");
  EXPECT_ASSERTION(narrow.pmfaAdditionalPtrBitsFoldedInDataIs(0), "0");
  EXPECT_MESSAGE_ASSERTION(narrow.epmfAdditionalPtrBitsFoldedInDataLen(),
                           " does not have field EPMF_ADDITIONAL_PTR_BITS_FOLDED_IN_DATA", "0");
  std::vector<U8> buf(20, 0);
  CrpsIfAdapterCfg cfg(ChipType::BCM88690_B0, buf.data(), 20, false, 0);
  cfg.erppExpansionSelectCByInterfaceIs(1, 0xffff);
  EXPECT_EQ(cfg.fieldOffset(F::EGQ_ERPP_CTR_1_EXPANSION_SELECT_C), 114);
  EXPECT_EQ(cfg.egqErppCtr1ExpansionSelectC(), 0xffff);
  // The wide chips' register is one word: two bytes hold the packet size select.
  CrpsIfAdapterCfg(ChipType::BCM88490_A0, buf.data(), 2, false, 0).cgmIrppPacketSizeSelectIs(0x3ff);
}

TEST(CrpsIfAdapterCgmTmCfg, SecondSelectCrossesIntoTheSecondWord) {
  std::vector<U8> buf(8, 0);
  CrpsIfAdapterCgmTmCfg tm(ChipType::BCM88897_C0, buf.data(), 8, false, 0);
  tm.cgmTmExpansionSelectAByInterfaceIs(1, 0x3fffff);
  EXPECT_EQ(tc::changedOutside(std::vector<U8>(8, 0), buf, 22, 22), 0u);
  EXPECT_EQ(tm.cgmTm1ExpansionSelectA(), 0x3fffffu);
  EXPECT_EQ(tm.cgmTmExpansionSelectAByInterface(0), 0u);
  EXPECT_MESSAGE_ASSERTION(tm.cgmTmExpansionSelectAByInterfaceIs(2, 0),
                           "Array index 2 out of range for cgmTmExpansionSelectAByInterfaceIs",
                           "0");
}

// CrpsIfAdapterCgmIrppCfg: variant v stands for interface v; the object
// answers for the interfaces of v's register only.

using IrppGetter = U64 (CrpsIfAdapterCgmIrppCfg::*)(U32) const;
const IrppGetter kIrppByLetter[4] = {&CrpsIfAdapterCgmIrppCfg::expansionSelectAByInterface,
                                     &CrpsIfAdapterCgmIrppCfg::expansionSelectBByInterface,
                                     &CrpsIfAdapterCgmIrppCfg::expansionSelectCByInterface,
                                     &CrpsIfAdapterCgmIrppCfg::expansionSelectDByInterface};

TEST(CrpsIfAdapterCgmIrppCfg, VariantSelectsTheRegisterOfItsInterface) {
  for (ChipType chip : {ChipType::BCM88690_B0, ChipType::BCM88870_A0}) {
    const unsigned w = wideChip(chip) ? 48 : 36;
    for (U8 v = 0; v < 10; ++v) {
      SCOPED_TRACE(std::string(chipTypeName(chip)) + " variant " + std::to_string(v));
      CrpsIfAdapterCgmIrppCfg::WithStorage irpp(chip, v);
      EXPECT_EQ(irpp.width(), (v < 8 ? 16u : 8u) * w / 32);
      for (U32 i = 0; i < 10; ++i)
        for (U32 l = 0; l < 4; ++l) {
          const U32 id = F::CGM_IRPP_0_EXPANSION_SELECT_A + 4 * i + l;
          ASSERT_EQ(irpp.isFieldValid(id), i / 4 == v / 4u);
          if (i / 4 == v / 4u) {
            EXPECT_EQ(irpp.fieldOffset(id), (4 * (i % 4) + l) * w);
            irpp.setField64(id, 4 * i + l);
            EXPECT_EQ((irpp.*kIrppByLetter[l])(i), 4 * i + l);
          }
        }
      // An interface of another register: plain "0" inside the indexed accessor.
      if (v == 0 || v == 9) {
        EXPECT_ASSERTION(irpp.expansionSelectAByInterface(v == 0 ? 4 : 0), "0");
      }
    }
  }
  CrpsIfAdapterCgmIrppCfg::WithStorage v0(ChipType::BCM88690_B0, 0), v4(ChipType::BCM88690_B0, 4);
  EXPECT_MESSAGE_ASSERTION(v0.expansionSelectAByInterface(10),
                           "Array index 10 out of range for expansionSelectAByInterface", "0");
  EXPECT_MESSAGE_ASSERTION(v0.expansionSelectAByInterfaceIs(10, 0),
                           "Array index 10 out of range for expansionSelectAByInterfaceIs", "0");
  EXPECT_ASSERTION(v0.cgmIrpp4ExpansionSelectAIs(0), "0");
  EXPECT_ASSERTION(v0.cgmIrpp4ExpansionSelectAOffset(), "0");
  EXPECT_ASSERTION(v0.stringFieldIs("cgmIrpp4ExpansionSelectA", 0), "0");
  EXPECT_MESSAGE_ASSERTION(v0.cgmIrpp4ExpansionSelectALen(),
                           " does not have field CGM_IRPP_4_EXPANSION_SELECT_A", "0");
  EXPECT_EQ(v4.cgmIrpp5ExpansionSelectBOffset(), 180);
  std::vector<U8> small(36, 0xff);
  CrpsIfAdapterCgmIrppCfg third(ChipType::BCM88690_B0, small.data(), 36, false, 8);
  EXPECT_EQ(third.cgmIrpp9ExpansionSelectD(), 0xfffffffffu);
  EXPECT_ASSERTION(third.getAllFields(), "len_ >= 96");
}

// CrpsIfAdapterEgqEppCtrCfg: one register of 24 selects on the first chips,
// two registers of 18 and 14 on 88490 and 88860x.
TEST(CrpsIfAdapterEgqEppCtrCfg, SeriesMembersMoveWithTheirRegister) {
  const struct {
    ChipType chip;
    U8 variant;
    unsigned first, last, base;  // series members in the register, bit of the first
  } rows[] = {{ChipType::BCM88690_B0, 0, 0, 23, 0},   {ChipType::BCM88859_A2, 23, 0, 23, 0},
              {ChipType::BCM88490_A0, 0, 0, 17, 14},  {ChipType::BCM88490_A0, 18, 18, 31, 0},
              {ChipType::BCM88860_A0, 17, 0, 17, 14}, {ChipType::BCM88870_A0, 31, 18, 31, 0}};
  for (const auto& r : rows) {
    SCOPED_TRACE(std::string(chipTypeName(r.chip)) + " variant " + std::to_string(r.variant));
    CrpsIfAdapterEgqEppCtrCfg::WithStorage egq(r.chip, r.variant);
    for (U32 n = 0; n < 32; ++n) {
      const U32 id = F::EXPANSION_SELECT_0 + n;
      ASSERT_EQ(egq.isFieldValid(id), n >= r.first && n <= r.last) << n;
      if (n >= r.first && n <= r.last) {
        EXPECT_EQ(egq.fieldOffset(id), r.base + 24 * (n - r.first));
        egq.expansionSelectByInterfaceAndTypeIs(n, n + 1);
        EXPECT_EQ(egq.stringField(fieldIdAccessorName(id), 0), n + 1);
      }
    }
    if (r.last < 31) {
      EXPECT_ASSERTION(egq.expansionSelectByInterfaceAndType(r.last + 1), "0");
    }
    if (r.first > 0) {
      EXPECT_ASSERTION(egq.expansionSelectByInterfaceAndType(r.first - 1), "0");
    }
  }
  CrpsIfAdapterEgqEppCtrCfg::WithStorage narrow(ChipType::BCM88690_B0, 5),
      low(ChipType::BCM88890_B0, 0), high(ChipType::BCM88890_B0, 18);
  EXPECT_MESSAGE_ASSERTION(narrow.expansionSelectByInterfaceAndType(32),
                           "Array index 32 out of range for expansionSelectByInterfaceAndType",
                           "0");
  EXPECT_TRUE(narrow.isEtppLtncyCtrSelectValid());
  EXPECT_FALSE(narrow.isEgqEppLtncyCtrSelectValid());
  EXPECT_FALSE(low.isEgqEppLtncyCtrSelectValid());
  EXPECT_FALSE(high.isEtppLtncyCtrSelectValid());
  EXPECT_EQ(high.egqEppLtncyCtrSelectOffset(), 336);
  EXPECT_EQ(narrow.etppLtncyCtrSelectOffset(), 576);
  EXPECT_EQ(low.egqEppTmExpansionSelectLen(), 14);
  EXPECT_ASSERTION(high.egqEppTmExpansionSelect(), "0");
  EXPECT_MESSAGE_ASSERTION(high.expansionSelect0Len(), " does not have field EXPANSION_SELECT_0",
                           "0");
  EXPECT_ASSERTION(narrow.stringFieldIs("expansionSelect31", 0), "0");
  std::vector<U8> ones(44, 0xff);
  CrpsIfAdapterEgqEppCtrCfg onRegister(ChipType::BCM88490_A0, ones.data(), 44, false, 18);
  EXPECT_EQ(onRegister.egqEppLtncyCtrSelect(), 1);
  EXPECT_ASSERTION(onRegister.getAllFields(), "len_ >= 76");
}

}  // namespace
