// The engine configuration register: four layouts cut from one packed field
// sequence, fields that widen, move or vanish from chip to chip, the one
// 72-bit field, and one array element per engine.
#include <TesselCountersOrrery.h>

#include "CrpsRowCheck.h"
#include "TestSupport.h"

namespace {

using namespace tc;
using Hardware::CrpsEngineCfg;
namespace Id = Hardware::FieldIds;

constexpr std::size_t kStorage = 44;

// The field sequence of the register, with its width in L1, L2, L3 and L4;
// 0 where the layout lacks the field. Absent fields move every later one down.
struct SeqField {
  U32 id;
  unsigned width[4];
};
const std::vector<SeqField> kSequence = {
    {Id::ENGINE_N_MODE, {5, 6, 6, 8}},
    {Id::ENGINE_N_WEIGHT_SHIFT_RATIO, {6, 6, 6, 6}},
    {Id::ENGINE_N_OVF_VALUE, {8, 18, 18, 18}},
    {Id::ENGINE_N_OVF_RESET_VALUE, {2, 2, 2, 2}},
    {Id::ENGINE_N_CLEAR_ON_READ_RESET_VALUE, {1, 2, 2, 2}},
    {Id::ENGINE_N_ENABLE_CLEAR_ON_OVF, {1, 1, 1, 1}},
    {Id::ENGINE_N_ENABLE_CLEAR_ON_READ, {1, 1, 1, 1}},
    {Id::ENGINE_N_PIPE_ENABLE, {1, 1, 1, 1}},
    {Id::ENGINE_N_SCAN_NUM_OF_SAMPLING_INTERVALS, {5, 5, 5, 5}},
    {Id::ENGINE_N_SCAN_PULSES_PER_SAMPLING_INTERVAL, {16, 16, 16, 16}},
    {Id::ENGINE_N_SCAN_PULSES_DELAY_BEFORE_COUNT, {16, 16, 16, 16}},
    {Id::ENGINE_N_SCAN_WAIT_TIME_BETWEEN_ALG_SCANS, {32, 32, 0, 0}},
    {Id::ENGINE_N_SCAN_WAIT_TIME_BETWEEN_SEQ_SCANS, {32, 32, 32, 32}},
    {Id::ENGINE_N_SCAN_WAIT_TIME_BETWEEN_SEQ_SCANS_SPEEDUP, {0, 0, 0, 32}},
    {Id::ENGINE_N_ENABLE_SCAN_WAIT_TIME_BETWEEN_SEQ_SCANS_SPEEDUP, {0, 0, 0, 1}},
    {Id::ENGINE_N_ENABLE_AVOID_SEQ_SCAN, {0, 0, 0, 1}},
    {Id::ENGINE_N_AVOID_SEQ_SCAN_VALUE, {0, 0, 0, 72}},
    {Id::ENGINE_N_SCAN_TIME_OUT_BEFORE_BUBBLE_REQ, {16, 16, 16, 16}},
    {Id::ENGINE_N_SCAN_TIME_OUT_AFTER_BUBBLE_REQ, {16, 16, 16, 16}},
    {Id::ENGINE_N_SCAN_MODE, {5, 5, 5, 5}},
    {Id::ENGINE_N_SCAN_THRESHOLD_CFG, {8, 8, 0, 0}},
    {Id::ENGINE_N_SCAN_PKT_THRESHOLD_CFG, {4, 4, 0, 0}},
    {Id::ENGINE_N_SCAN_FORCE_BUBBLE, {1, 1, 1, 1}},
    {Id::ENGINE_N_SCAN_BUBBLE_REQUEST_ENABLE, {1, 1, 1, 1}},
    {Id::ENGINE_N_SCAN_OBJECT_TYPE_FOR_DMA, {8, 8, 8, 8}},
    {Id::ENGINE_N_SCAN_TOD_PERIOD_COUNTER_RE_ENTER, {10, 10, 10, 10}},
    {Id::ENGINE_N_SCAN_DMA_RECORD_LOGICAL_SEL, {1, 1, 1, 1}},
    {Id::ENGINE_N_SCAN_COR_ENABLE, {1, 1, 1, 1}},
    {Id::ENGINE_N_SCAN_SEQ_SCAN_BASE_ADDRESS_START, {15, 16, 17, 17}},
    {Id::ENGINE_N_SCAN_SEQ_SCAN_BASE_ADDRESS_END, {15, 16, 17, 17}},
    {Id::ENGINE_N_ENABLE_CLEAR_ON_ECC_ERR, {1, 1, 1, 1}},
    {Id::ENGINE_N_CLEAR_ON_INIT_VALUE, {0, 1, 1, 1}},
    {Id::ENGINE_N_LFSR_ENABLE, {0, 0, 1, 1}},
    {Id::ENGINE_N_IRE_EVICTION_ENABLE, {0, 0, 1, 0}},
    {Id::ENGINE_N_NARROW_DUAL_LFSR_OCTETS_ENABLE, {0, 0, 1, 0}},
    {Id::ENGINE_N_NARROW_DUAL_LFSR_OCTETS_VALUE, {0, 0, 14, 0}},
    {Id::ENGINE_N_ENABLE_START_NEW_SCAN_ONLY_ON_EXTERNAL_SYNC, {0, 0, 0, 1}},
    {Id::ENGINE_N_WAITING_PERIOD_BEFORE_START_NEW_SCAN, {0, 0, 0, 32}},
    {Id::ENGINE_N_ENABLE_WAITING_PERIOD_BEFORE_START_NEW_SCAN, {0, 0, 0, 1}},
    {Id::ENGINE_N_ENABLE_WIDE_STATE_COUNTERS_SATURATION, {0, 0, 0, 1}},
};

Layout layoutOf(int l) {
  std::vector<Packed> seq;
  for (const auto& f : kSequence) seq.push_back({f.id, f.width[l]});
  return packFrom0(seq);
}

std::vector<U32> classIds() {
  std::vector<U32> ids;
  for (const auto& f : kSequence) ids.push_back(f.id);
  return ids;
}

// Per chip: layout index, width in words, engine count, base address.
struct ChipRow {
  ChipType chip;
  int layout;
  unsigned words;
  unsigned engines;
  U32 base;
};
const std::vector<ChipRow> kChips = {
    {ChipType::BCM88690_B0, 0, 8, 22, 268},  {ChipType::BCM88800_A0, 1, 8, 34, 313},
    {ChipType::BCM88850_A0, 2, 7, 34, 308},  {ChipType::BCM88859_A2, 2, 7, 34, 308},
    {ChipType::BCM88480_A0, 1, 8, 14, 288},  {ChipType::BCM88480_B0, 1, 8, 14, 288},
    {ChipType::BCM88490_A0, 3, 11, 22, 318}, {ChipType::BCM88860_A0, 3, 11, 32, 338},
    {ChipType::BCM88867_C0, 3, 11, 32, 338}, {ChipType::BCM88890_A0, 3, 11, 32, 338},
    {ChipType::BCM88890_B0, 3, 11, 32, 338}, {ChipType::BCM88897_C0, 3, 11, 32, 338},
    {ChipType::BCM88870_A0, 3, 11, 32, 338},
};

TEST(CrpsEngineCfg, LayoutsAreCutsOfOnePackedSequence) {
  const unsigned bitsUsedByLayout[4] = {228, 243, 218, 345};
  const std::size_t fieldCountByLayout[4] = {27, 28, 29, 34};
  for (int l = 0; l < 4; ++l) {
    EXPECT_EQ(bitsUsed(layoutOf(l)), bitsUsedByLayout[l]);
    EXPECT_EQ(layoutOf(l).size(), fieldCountByLayout[l]);
  }
  const auto ids = classIds();
  bool seen[4] = {};
  for (const auto& c : kChips) {
    const Layout layout = layoutOf(c.layout);
    EXPECT_EQ(CrpsEngineCfg::width(num(c.chip), 0), c.words);
    EXPECT_EQ(CrpsEngineCfg::regWidth(num(c.chip), 0), c.words);
    checkRow<CrpsEngineCfg>(
        {c.chip, 0, layout, ids, kStorage, !seen[c.layout], {Id::ENGINE_N_AVOID_SEQ_SCAN_VALUE}});
    seen[c.layout] = true;
  }
}

TEST(CrpsEngineCfg, OneElementPerEngine) {
  for (const auto& c : kChips) {
    SCOPED_TRACE(num(c.chip));
    EXPECT_EQ(CrpsEngineCfg::arrayElements(num(c.chip), 0), c.engines);
    EXPECT_EQ(CrpsEngineCfg::addrStride(num(c.chip), 0), 1u);
    EXPECT_EQ(CrpsEngineCfg::maxIdentifier(num(c.chip), 0), 0u);
    for (U16 e : {U16(0), U16(c.engines - 1)}) {
      U32 address = 0, subBlock = 0, block = 0;
      ASSERT_TRUE(CrpsEngineCfg::getSchanAddress(num(c.chip), 0, address, subBlock, block, 0, 0, e));
      EXPECT_EQ(address, c.base + e);
    }
  }
  U32 a = 0, s = 0, b = 0;
  ASSERT_TRUE(CrpsEngineCfg::getSchanAddress(num(ChipType::BCM88690_B0), 0, a, s, b, 1, 0, 21));
  EXPECT_EQ(a, 289u);
  EXPECT_EQ(s, 16u);
  EXPECT_EQ(b, 8u);
  for (ChipType chip : {ChipType::BCM88690_B0, ChipType::BCM88800_A0, ChipType::BCM88480_A0,
                        ChipType::BCM88860_A0}) {
    const U16 engines = static_cast<U16>(CrpsEngineCfg::arrayElements(num(chip), 0));
    EXPECT_ASSERTION(CrpsEngineCfg::getSchanAddress(num(chip), 0, a, s, b, 0, 0, engines),
                     "arrayIndex < " + std::to_string(engines));
  }
  EXPECT_ASSERTION(CrpsEngineCfg::getSchanAddress(10, 0, a, s, b, 0, 1, 0), "tableEntry == 0");
  // A variant or chip the class lacks answers false and leaves the outputs alone.
  a = s = b = 77;
  EXPECT_FALSE(CrpsEngineCfg::getSchanAddress(10, 1, a, s, b, 0, 0, 0));
  EXPECT_FALSE(CrpsEngineCfg::getSchanAddress(13, 0, a, s, b, 0, 0, 0));
  EXPECT_EQ(a + s + b, 3 * 77u);
}

TEST(CrpsEngineCfg, ValueChecksFollowTheWidthOfTheChip) {
  std::vector<U8> buf(kStorage, 0);
  CrpsEngineCfg l1(ChipType::BCM88690_B0, buf.data(), kStorage, false, 0);
  l1.engineNModeIs(31);
  EXPECT_EQ(l1.engineNMode(), 31);
  EXPECT_ASSERTION(l1.engineNModeIs(32), "value <= 0x1f");
  // Eight bits on this chip: a U32 parameter without a value check.
  l1.engineNOvfValueIs(0x1ff);
  EXPECT_EQ(l1.engineNOvfValue(), 0xffu);
  EXPECT_EQ(l1.engineNOvfValueOffset(), 11);
  EXPECT_ASSERTION(l1.engineNScanSeqScanBaseAddressStartIs(0x8000), "value <= 0x7fff");

  for (ChipType chip : {ChipType::BCM88800_A0, ChipType::BCM88480_B0}) {
    CrpsEngineCfg l2(chip, buf.data(), kStorage, false, 0);
    EXPECT_ASSERTION(l2.engineNModeIs(64), "value <= 0x3f");
    EXPECT_ASSERTION(l2.engineNOvfValueIs(0x40000), "value <= 0x3ffff");
    // Sixteen bits here: the high bits are dropped, nothing stops.
    l2.engineNScanSeqScanBaseAddressStartIs(0x12345);
    EXPECT_EQ(l2.engineNScanSeqScanBaseAddressStart(), 0x2345u);
    l2.engineNScanSeqScanBaseAddressEndIs(0xfffff);
    EXPECT_EQ(l2.engineNScanSeqScanBaseAddressEnd(), 0xffffu);
    EXPECT_EQ(l2.engineNScanSeqScanBaseAddressStart(), 0x2345u);
  }

  CrpsEngineCfg l4(ChipType::BCM88860_A0, buf.data(), kStorage, false, 0);
  l4.engineNModeIs(255);
  EXPECT_EQ(l4.engineNMode(), 255);
  EXPECT_ASSERTION(l4.engineNScanSeqScanBaseAddressStartIs(0x20000), "value <= 0x1ffff");
}

TEST(CrpsEngineCfg, LengthIsCheckedPerAccessNotAtConstruction) {
  std::vector<U8> buf(25, 0);
  CrpsEngineCfg cfg(ChipType::BCM88690_B0, buf.data(), 25, false, 0);
  cfg.engineNScanCorEnableIs(1);
  EXPECT_EQ(buf[24], 0x10);
  EXPECT_EQ(std::count(buf.begin(), buf.end(), 0), 24);
  EXPECT_ASSERTION(cfg.engineNScanCorEnableIs(2), "value <= 0x1");
  CrpsEngineCfg shorter(ChipType::BCM88690_B0, buf.data(), 24, false, 0);
  EXPECT_ASSERTION(shorter.engineNScanCorEnableIs(1), "len_ >= 25");

  std::vector<U8> twelve(12, 0);
  CrpsEngineCfg small(ChipType::BCM88860_A0, twelve.data(), 12, false, 0);
  EXPECT_EQ(small.engineNModeLen(), 8);
  EXPECT_ASSERTION(small.engineNScanCorEnable(), "len_ >= 35");

  // getAllFields wants the widest entry of the class on every chip.
  std::vector<U8> ones43(43, 0xff);
  CrpsEngineCfg l3(ChipType::BCM88850_A0, ones43.data(), 43, false, 0);
  EXPECT_ASSERTION(l3.getAllFields(), "len_ >= 44");
}

TEST(CrpsEngineCfg, FieldsThatVanishStopThroughEveryPath) {
  std::vector<U8> buf(kStorage, 0);
  CrpsEngineCfg l1(ChipType::BCM88690_B0, buf.data(), kStorage, false, 0);
  EXPECT_FALSE(l1.isEngineNLfsrEnableValid());
  EXPECT_ASSERTION(l1.engineNLfsrEnable(), "0");
  EXPECT_ASSERTION(l1.engineNLfsrEnableIs(1), "0");
  EXPECT_ASSERTION(l1.engineNLfsrEnableOffset(), "0");
  EXPECT_MESSAGE_ASSERTION(l1.engineNLfsrEnableLen(), " does not have field ENGINE_N_LFSR_ENABLE", "0");
  EXPECT_MESSAGE_ASSERTION(l1.engineNAvoidSeqScanValueLen(),
                           " does not have field ENGINE_N_AVOID_SEQ_SCAN_VALUE", "0");
  EXPECT_ASSERTION(l1.engineNAvoidSeqScanValue(), "0");
  EXPECT_EQ(l1.fieldWidth(Id::ENGINE_N_LFSR_ENABLE), 0);

  CrpsEngineCfg l3(ChipType::BCM88850_A0, buf.data(), kStorage, false, 0);
  EXPECT_EQ(l3.engineNLfsrEnableOffset(), 201);
  EXPECT_TRUE(l3.isEngineNIreEvictionEnableValid());
  EXPECT_FALSE(l3.isEngineNScanThresholdCfgValid());
  EXPECT_EQ(l3.engineNScanForceBubbleOffset(), 143);
  EXPECT_MESSAGE_ASSERTION(l3.engineNScanThresholdCfgLen(),
                           " does not have field ENGINE_N_SCAN_THRESHOLD_CFG", "0");
  EXPECT_ASSERTION(l3.engineNScanWaitTimeBetweenAlgScansIs(0), "0");

  CrpsEngineCfg l4(ChipType::BCM88860_A0, buf.data(), kStorage, false, 0);
  EXPECT_EQ(l4.engineNLfsrEnableOffset(), 309);
  EXPECT_FALSE(l4.isEngineNIreEvictionEnableValid());
  EXPECT_ASSERTION(l4.engineNNarrowDualLfsrOctetsValue(), "0");

  // Names that aren't fields of the class.
  EXPECT_MESSAGE_ASSERTION(l4.stringField("EngineNMode", 0), "fieldName not found.", "false");
  EXPECT_MESSAGE_ASSERTION(l4.stringFieldIs("engineNmode", 0), "fieldName not found or is const.",
                           "false");
  EXPECT_FALSE(l4.isFieldValid(Id::ENGINE_INIT_REQUEST));
  EXPECT_EQ(l4.fieldWidth(Id::ENGINE_INIT_REQUEST), 0);
  EXPECT_ASSERTION(l4.fieldOffset(Id::ENGINE_INIT_REQUEST), "false");
  EXPECT_ASSERTION(l4.setField64(Id::ENGINE_INIT_REQUEST, 0), "false");
}

TEST(CrpsEngineCfg, AvoidSeqScanValueIsOneRawField) {
  const Larch::String name("engineNAvoidSeqScanValue");
  Raw128 value;
  value.fill(0xff);
  std::vector<U8> before = randomBytes(27, 3);
  std::vector<U8> buf = before;
  CrpsEngineCfg cfg(ChipType::BCM88870_A0, buf.data(), 27, false, 0);
  cfg.engineNAvoidSeqScanValueIs(value);
  // Bits 0 to 71 of the value land in 142 to 213; bits 72 and up are ignored.
  EXPECT_EQ(changedOutside(before, buf, 142, 72), 0u);
  for (unsigned bit = 142; bit < 214; ++bit) EXPECT_TRUE(bitOf(buf, bit));
  const Raw128 read = cfg.engineNAvoidSeqScanValue();
  for (unsigned i = 0; i < 16; ++i) EXPECT_EQ(read[i], i < 9 ? 0xff : 0) << i;
  EXPECT_EQ(cfg.stringField(name, 0), ~0ULL);
  EXPECT_EQ(cfg.stringField(name, 1), 0xffULL);
  EXPECT_EQ(cfg.isFieldValid(Id::ENGINE_N_AVOID_SEQ_SCAN_VALUE), true);
  EXPECT_EQ(cfg.fieldWidth(Id::ENGINE_N_AVOID_SEQ_SCAN_VALUE), 72);
  EXPECT_EQ(cfg.fieldOffset(Id::ENGINE_N_AVOID_SEQ_SCAN_VALUE), 142);
  EXPECT_EQ(cfg.engineNAvoidSeqScanValueLen(), 72);

  // A pattern reads back word by word.
  Raw128 pattern{};
  for (unsigned i = 0; i < 16; ++i) pattern[i] = static_cast<U8>(0x11 * (i + 1));
  cfg.engineNAvoidSeqScanValueIs(pattern);
  EXPECT_EQ(cfg.stringField(name, 0), 0x8877665544332211ULL);
  EXPECT_EQ(cfg.stringField(name, 1), 0x99ULL);

  // No 64-bit write reaches it, and the buffer must reach bit 213.
  EXPECT_ASSERTION(cfg.setField64(Id::ENGINE_N_AVOID_SEQ_SCAN_VALUE, 1), "false");
  EXPECT_ASSERTION(cfg.stringFieldIs(name, 1), "false");
  CrpsEngineCfg shorter(ChipType::BCM88870_A0, buf.data(), 26, false, 0);
  EXPECT_ASSERTION(shorter.engineNAvoidSeqScanValueIs(value), "len_ >= 27");
  EXPECT_ASSERTION(shorter.stringField(name, 0), "len_ >= 27");
}

TEST(CrpsEngineCfg, FactoryGivesTheWidestBuffer) {
  auto obj = Hardware::stringObj("CrpsEngineCfg", ChipType::BCM88690_B0, 0);
  EXPECT_EQ(obj->width(), 8);
  EXPECT_FALSE(obj->isTable());
  EXPECT_EQ(obj->len(), kStorage);
  EXPECT_EQ(std::count(obj->buf(), obj->buf() + obj->len(), 0), 44);
  obj->setField64(Id::ENGINE_N_MODE, 0x1f);
  EXPECT_EQ(obj->stringField("engineNMode", 0), 0x1fu);
  EXPECT_MESSAGE_ASSERTION(Hardware::stringObj("CrpsEngineCfg", ChipType::BCM88690_B0, 1),
                           " not in metainfo for CrpsEngineCfg!", "0");
  EXPECT_MESSAGE_ASSERTION(Hardware::stringObj("crpsEngineCfg", ChipType::BCM88690_B0, 0),
                           "invalid name given: crpsEngineCfg", "objMapIter != objMap.end()");
  for (ChipType chip : allChips()) {
    EXPECT_TRUE(Hardware::chipTypeVariantValid("CrpsEngineCfg", chip, 0));
    EXPECT_FALSE(Hardware::chipTypeVariantValid("CrpsEngineCfg", chip, 1));
  }
}

}  // namespace
