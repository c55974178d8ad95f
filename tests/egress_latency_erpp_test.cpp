// Egress latency tables, the per-port table and the ERPP counter
// configuration: memories whose layout or table depends on chip and variant.
#include <TesselCountersOrrery.h>

#include <tuple>

#include "TestSupport.h"

using namespace Hardware;
using tc::num;

namespace {

struct Schan {
  bool ok;
  U32 address, subBlock, block;
};

template <class X>
Schan schan(ChipType chip, U8 variant, U16 ident, U32 entry) {
  Schan r{false, 0, 0, 0};
  r.ok = X::getSchanAddress(num(chip), variant, r.address, r.subBlock, r.block, ident, entry, 0);
  return r;
}

bool isLegacy(ChipType chip) {
  return chip == ChipType::BCM88690_B0 || chip == ChipType::BCM88800_A0 ||
         chip == ChipType::BCM88850_A0 || chip == ChipType::BCM88859_A2 ||
         chip == ChipType::BCM88480_A0 || chip == ChipType::BCM88480_B0;
}

U16 legacyInstances(ChipType chip) {
  return chip == ChipType::BCM88690_B0 || chip == ChipType::BCM88850_A0 ? 2 : 1;
}

}  // namespace

// ---------------------------------------------------------------------------
// EtppcLatencyProfileTable: L1 on 88690, L2 elsewhere.

namespace {

U32 latencyBase(ChipType chip) {
  // clang-format off
  switch (chip) {
    case ChipType::BCM88690_B0: return 0x20F0000;
    case ChipType::BCM88800_A0: case ChipType::BCM88480_A0: case ChipType::BCM88480_B0:
      return 0x2100000;
    case ChipType::BCM88850_A0: case ChipType::BCM88859_A2: return 0x2180000;
    default: return 0x2120000;
  }
  // clang-format on
}

}  // namespace

TEST(LatencyProfile, GeometryOnEveryChip) {
  for (ChipType chip : tc::allChips()) {
    SCOPED_TRACE(num(chip));
    const bool l1 = chip == ChipType::BCM88690_B0;
    EtppcLatencyProfileTable::WithStorage t(chip, 0);
    EXPECT_TRUE(t.isTable());
    EXPECT_EQ(t.width(), l1 ? 10 : 8);
    EXPECT_EQ(t.entries(), 16u);
    EXPECT_EQ(t.fieldCount(), l1 ? 14 : 9);
    EXPECT_EQ(t.tableVariantCount(), 1u);
    EXPECT_EQ(t.entrySpans().count, 1u);
    EXPECT_EQ(t.entrySpans().spans[0].size, 16u);
    const U16 last = t.instanceCount() - 1;
    for (U32 entry : {0u, 15u}) {
      for (U16 ident : {U16(0), last}) {
        const Schan s = schan<EtppcLatencyProfileTable>(chip, 0, ident, entry);
        ASSERT_TRUE(s.ok);
        EXPECT_EQ(s.address, latencyBase(chip) + entry);
      }
    }
    EXPECT_FALSE(t.hasIdentifier(last + 1));
    EXPECT_EQ(t.isLatencyCniEnValid(), l1);
    // getAllFields on all ones keeps exactly the bits of the fields.
    std::vector<U8> ones(40, 0xff);
    EtppcLatencyProfileTable full(chip, ones.data(), 40, false, 0);
    const Raw512 all = full.getAllFields();
    const unsigned used = l1 ? 297 : 230;
    for (unsigned bit = 0; bit < 512; ++bit)
      ASSERT_EQ((all[bit / 8] >> (bit % 8)) & 1, bit < used ? 1 : 0) << bit;
  }
  EXPECT_TRUE(EtppcLatencyProfileTable::hasIdentifier(num(ChipType::BCM88690_B0), 0, 1));
  EXPECT_FALSE(EtppcLatencyProfileTable::hasIdentifier(num(ChipType::BCM88690_B0), 0, 2));
  EXPECT_FALSE(EtppcLatencyProfileTable::hasIdentifier(num(ChipType::BCM88800_A0), 0, 1));
}

TEST(LatencyProfile, ThresholdBytes) {
  for (U32 i = 0; i < 7; ++i) {
    EXPECT_EQ(EtppcLatencyProfileTable::WithStorage(ChipType::BCM88690_B0, 0).fieldOffset(319 + i),
              73 + 32 * i);
    EXPECT_EQ(EtppcLatencyProfileTable::WithStorage(ChipType::BCM88870_A0, 0).fieldOffset(319 + i),
              6 + 32 * i);
  }
  std::vector<U8> a(40, 0);
  EtppcLatencyProfileTable l1(ChipType::BCM88690_B0, a.data(), 40, false, 0);
  l1.latencyBinThIs(0, 0xffffffff);
  EXPECT_EQ(std::vector<U8>(a.begin() + 9, a.begin() + 14),
            (std::vector<U8>{0xfe, 0xff, 0xff, 0xff, 0x01}));
  EXPECT_EQ(a[8], 0);
  EXPECT_EQ(a[14], 0);
  std::vector<U8> b(40, 0);
  EtppcLatencyProfileTable l2(ChipType::BCM88800_A0, b.data(), 40, false, 0);
  l2.latencyBinThIs(0, 0xffffffff);
  EXPECT_EQ(std::vector<U8>(b.begin(), b.begin() + 5),
            (std::vector<U8>{0xc0, 0xff, 0xff, 0xff, 0x3f}));

  // Threshold 6 set to 0x80000001: its first and last bit and nothing else.
  for (auto [chip, first, last] : {std::tuple{ChipType::BCM88690_B0, 265u, 296u},
                                   std::tuple{ChipType::BCM88800_A0, 198u, 229u}}) {
    SCOPED_TRACE(num(chip));
    std::vector<U8> c(40, 0);
    EtppcLatencyProfileTable t(chip, c.data(), 40, false, 0);
    t.latencyBinThIs(6, 0x80000001);
    EXPECT_EQ(t.latencyBinTh(6), 0x80000001u);
    EXPECT_EQ(t.latencyBinTh6(), 0x80000001u);
    EXPECT_EQ(tc::changedOutside(std::vector<U8>(40, 0), c, first, 1), 1u);
    EXPECT_TRUE(tc::bitOf(c, first));
    EXPECT_TRUE(tc::bitOf(c, last));
  }
}

TEST(LatencyProfile, L2ControlsAndTheL1OnlyFields) {
  auto before = tc::randomBytes(32, 9);
  auto buf = before;
  EtppcLatencyProfileTable l2(ChipType::BCM88850_A0, buf.data(), 32, false, 0);
  l2.latencyStatisticsCommandIs(0x15);
  l2.latencyStatisticsEnIs(1);
  EXPECT_EQ(l2.latencyStatisticsCommand(), 0x15);
  EXPECT_EQ(buf[0] & 0x3f, 0x2b);
  EXPECT_EQ(tc::changedOutside(before, buf, 0, 6), 0u);
  for (U32 id = 327; id <= 331; ++id) {
    EXPECT_FALSE(l2.isFieldValid(id)) << id;
    EXPECT_EQ(l2.fieldWidth(id), 0) << id;
  }
  EtppcLatencyProfileTable::WithStorage l1(ChipType::BCM88690_B0, 0);
  l1.latencyDropTrapThIs(0xdeadbeef);
  l1.latencyCniThIs(0xcafef00d);
  l1.latencyCniEnIs(1);
  l1.latencyMaxEnIs(1);
  EXPECT_EQ(l1.latencyDropTrapTh(), 0xdeadbeefu);
  EXPECT_EQ(l1.latencyCniTh(), 0xcafef00du);
  EXPECT_EQ(l1.latencyDropTrapEn(), 0);
  EXPECT_EQ(l1.fieldOffset(331), 33);
  EXPECT_EQ(l1.fieldOffset(333), 34);
}

TEST(LatencyProfile, Checks) {
  EtppcLatencyProfileTable::WithStorage l2(ChipType::BCM88800_A0, 0);
  EXPECT_ASSERTION(l2.latencyCniEn(), "0");
  EXPECT_ASSERTION(l2.latencyCniEnIs(1), "0");
  EXPECT_ASSERTION(l2.latencyDropTrapThIs(1), "0");
  EXPECT_ASSERTION(l2.fieldOffset(328), "0");
  EXPECT_MESSAGE_ASSERTION(l2.latencyCniEnLen(), " does not have field LATENCY_CNI_EN", "0");
  EXPECT_MESSAGE_ASSERTION(l2.latencyDropTrapThLen(), " does not have field LATENCY_DROP_TRAP_TH",
                           "0");
  EXPECT_MESSAGE_ASSERTION(l2.latencyBinTh(7), "Array index 7 out of range for latencyBinTh", "0");
  EXPECT_MESSAGE_ASSERTION(l2.latencyBinThIs(7, 0), "Array index 7 out of range for latencyBinThIs",
                           "0");

  std::vector<U8> buf(40, 0);
  EtppcLatencyProfileTable l2_32(ChipType::BCM88800_A0, buf.data(), 32, false, 0);
  EXPECT_ASSERTION(l2_32.getAllFields(), "len_ >= 40");

  U32 a = 0, s = 0, b = 0;
  EXPECT_ASSERTION(
      EtppcLatencyProfileTable::getSchanAddress(num(ChipType::BCM88690_B0), 0, a, s, b, 0, 16, 0),
      "tableEntry < 16");
  EXPECT_ASSERTION(
      EtppcLatencyProfileTable::getSchanAddress(num(ChipType::BCM88690_B0), 0, a, s, b, 0, 0, 1),
      "arrayIndex == 0");
  EXPECT_ASSERTION(
      EtppcLatencyProfileTable::getSchanAddress(num(ChipType::BCM88860_A0), 0, a, s, b, 0, 0, 1),
      "arrayIndex < 1");
}

// ---------------------------------------------------------------------------
// EtppaPerPortTable and EtppcCfgFlowIdExist: older chips only.

TEST(PerPort, GeometryAndTheOneField) {
  for (ChipType chip : tc::allChips()) {
    SCOPED_TRACE(num(chip));
    EXPECT_EQ(EtppaPerPortTable::chipTypeVariantValid(chip, 0), isLegacy(chip));
    EXPECT_EQ(EtppcCfgFlowIdExist::chipTypeVariantValid(chip, 0), isLegacy(chip));
    EXPECT_EQ(EtppaPerPortTable::tableVariantCount(num(chip)), isLegacy(chip) ? 1u : 0u);
    if (!isLegacy(chip)) {
      EXPECT_FALSE(schan<EtppaPerPortTable>(chip, 0, 0, 0).ok);
      EXPECT_FALSE(schan<EtppcCfgFlowIdExist>(chip, 0, 0, 0).ok);
      continue;
    }
    const bool big = chip == ChipType::BCM88800_A0 || chip == ChipType::BCM88480_A0 ||
                     chip == ChipType::BCM88480_B0;
    const U32 entries = big ? 1024 : 256;
    const U16 last = legacyInstances(chip) - 1;
    EtppaPerPortTable::WithStorage t(chip, 0);
    EXPECT_EQ(t.entries(), entries);
    EXPECT_EQ(t.instanceCount(), last + 1);
    EXPECT_EQ(t.entrySpans().spans[0].firstEntry, 0u);
    EXPECT_EQ(t.entrySpans().spans[0].size, entries);
    for (U16 ident : {U16(0), last}) {
      EXPECT_EQ(schan<EtppaPerPortTable>(chip, 0, ident, 0).address, 35717120u);
      EXPECT_EQ(schan<EtppaPerPortTable>(chip, 0, ident, entries - 1).address,
                35717120u + entries - 1);
    }
    EXPECT_EQ(t.portLatencyFlowIdProfileOffset(), 72);
    EXPECT_EQ(t.portLatencyFlowIdProfileLen(), 4);

    const U32 flowAddress = chip == ChipType::BCM88690_B0 ? 2061 : big ? 2062 : 2064;
    for (U16 ident : {U16(0), last})
      EXPECT_EQ(schan<EtppcCfgFlowIdExist>(chip, 0, ident, 0).address, flowAddress);
    U8 byte = 0xfe;
    EtppcCfgFlowIdExist flow(chip, &byte, 1, false, 0);
    flow.cfgFlowIdExistIs(1);
    EXPECT_EQ(byte, 0xff);
    EXPECT_EQ(flow.fieldWidth(5), 1);
  }
}

TEST(PerPort, Checks) {
  U32 a = 0, s = 0, b = 0;
  EXPECT_ASSERTION(
      EtppaPerPortTable::getSchanAddress(num(ChipType::BCM88690_B0), 0, a, s, b, 0, 256, 0),
      "tableEntry < 256");
  EXPECT_ASSERTION(
      EtppaPerPortTable::getSchanAddress(num(ChipType::BCM88800_A0), 0, a, s, b, 0, 1024, 0),
      "tableEntry < 1024");
  EXPECT_ASSERTION(
      EtppaPerPortTable::getSchanAddress(num(ChipType::BCM88850_A0), 0, a, s, b, 2, 0, 0),
      "hasIdentifier( chipType, variant, identifier )");
  EXPECT_ASSERTION(EtppaPerPortTable::entries(num(ChipType::BCM88870_A0), 0), "0");
  EXPECT_ASSERTION(EtppaPerPortTable::entries(num(ChipType::BCM88690_B0), 1), "variant == 0");
  EXPECT_MESSAGE_ASSERTION(Hardware::stringObj("EtppcCfgFlowIdExist", ChipType::BCM88490_A0, 0),
                           " not in metainfo for EtppcCfgFlowIdExist!", "0");
  EXPECT_MESSAGE_ASSERTION(Hardware::stringObj("EtppaPerPortTable", ChipType::BCM88860_A0, 0),
                           " not in metainfo for EtppaPerPortTable!", "0");
}

// ---------------------------------------------------------------------------
// ERPP: two counters, two type tables as variants, one profile table with
// both counters side by side.

namespace {

U32 typeTableBase(ChipType chip, U8 variant) {
  const U32 first = chip == ChipType::BCM88690_B0 ? 0x2FD0000 : 0x2FF0000;
  return first + 0x10000 * variant;
}

U32 profileTableBase(ChipType chip) {
  return chip == ChipType::BCM88690_B0 ? 0x2FC0000 : 0x2FE0000;
}

}  // namespace

TEST(ErppTables, GeometryOnEveryChipAndVariant) {
  for (ChipType chip : tc::allChips()) {
    SCOPED_TRACE(num(chip));
    const bool has = isLegacy(chip);
    EXPECT_EQ(ErppCounterTypeTable::tableVariantCount(num(chip)), has ? 2u : 0u);
    EXPECT_EQ(ErppOutlifProfileToCounterProfileTable::tableVariantCount(num(chip)), has ? 1u : 0u);
    EXPECT_FALSE(ErppCounterTypeTable::chipTypeVariantValid(chip, 2));
    for (const char* name : {"ErppCounterTypeTable", "ErppOutlifProfileToCounterProfileTable",
                             "ErppCounterReg", "ErppDeviceCfgBtr"})
      EXPECT_EQ(Hardware::chipTypeVariantValid(name, chip, 0), has) << name;
    if (!has) {
      EXPECT_FALSE(schan<ErppCounterTypeTable>(chip, 0, 0, 0).ok);
      EXPECT_FALSE(schan<ErppCounterReg>(chip, 0, 0, 0).ok);
      continue;
    }
    const U16 last = legacyInstances(chip) - 1;
    for (U8 v = 0; v < 2; ++v) {
      ErppCounterTypeTable::WithStorage t(chip, v);
      EXPECT_EQ(t.entries(), 8u);
      EXPECT_EQ(t.tableVariantCount(), 2u);
      EXPECT_EQ(t.fieldCount(), 1);
      EXPECT_EQ(t.isFieldValid(76), v == 0);
      EXPECT_EQ(t.isFieldValid(77), v == 1);
      EXPECT_EQ(t.allFieldsMask()[0], 0x3);
      EXPECT_EQ(t.entrySpans().spans[0].size, 8u);
      for (U16 ident : {U16(0), last})
        for (U32 entry : {0u, 7u})
          EXPECT_EQ(schan<ErppCounterTypeTable>(chip, v, ident, entry).address,
                    typeTableBase(chip, v) + entry);
    }
    ErppOutlifProfileToCounterProfileTable::WithStorage p(chip, 0);
    EXPECT_EQ(p.tableVariantCount(), 1u);
    EXPECT_EQ(p.allFieldsMask()[0], 0x3f);
    EXPECT_EQ(p.fieldCount(), 2);
    for (U16 ident : {U16(0), last})
      for (U32 entry : {0u, 15u})
        EXPECT_EQ(schan<ErppOutlifProfileToCounterProfileTable>(chip, 0, ident, entry).address,
                  profileTableBase(chip) + entry);

    const U32 btr = schan<ErppDeviceCfgBtr>(chip, 0, last, 0).address;
    EXPECT_EQ(schan<ErppCounterReg>(chip, 0, last, 0).address, btr + 6);
    EXPECT_EQ(btr, chip == ChipType::BCM88690_B0                                    ? 1361u
                   : chip == ChipType::BCM88850_A0 || chip == ChipType::BCM88859_A2 ? 1371u
                                                                                    : 1435u);
  }
  // The same address is another memory on another chip.
  EXPECT_EQ(schan<ErppCounterTypeTable>(ChipType::BCM88690_B0, 1, 0, 0).address,
            schan<ErppOutlifProfileToCounterProfileTable>(ChipType::BCM88800_A0, 0, 0, 0).address);
}

TEST(ErppTables, CounterTypeReachesOnlyItsOwnTable) {
  for (U8 v = 0; v < 2; ++v) {
    auto before = tc::randomBytes(4, v);
    auto buf = before;
    ErppCounterTypeTable t(ChipType::BCM88690_B0, buf.data(), 4, false, v);
    const U8 value = static_cast<U8>(3 - v);
    t.counterTypeIs(v, value);
    EXPECT_EQ(buf[0] & 3, value);
    EXPECT_EQ(t.counterType(v), value);
    EXPECT_EQ(tc::changedOutside(before, buf, 0, 2), 0u);
    t.setField64(76 + v, 1);
    EXPECT_EQ(t.counterType(v), 1);
  }
  ErppCounterTypeTable::WithStorage t0(ChipType::BCM88480_A0, 0);
  ErppCounterTypeTable::WithStorage t1(ChipType::BCM88480_A0, 1);
  EXPECT_ASSERTION(t0.counterType(1), "variant_ == 1");
  EXPECT_ASSERTION(t0.counterTypeIs(1, 1), "variant_ == 1");
  EXPECT_ASSERTION(t1.counterType(0), "variant_ == 0");
  EXPECT_ASSERTION(t1.counterTypeIs(0, 1), "variant_ == 0");
  EXPECT_ASSERTION(t1.setField64(76, 1), "variant_ == 0");
  EXPECT_ASSERTION(t0.counterTypeIs(0, 4), "value <= 0x3");
  EXPECT_MESSAGE_ASSERTION(t1.counter0TypeLen(), " does not have field COUNTER_0_TYPE", "0");
  EXPECT_MESSAGE_ASSERTION(t0.counterType(2), "Array index 2 out of range for counterType", "0");
  EXPECT_MESSAGE_ASSERTION(t0.counterTypeIs(2, 0), "Array index 2 out of range for counterTypeIs",
                           "0");
  U32 a = 0, s = 0, b = 0;
  EXPECT_ASSERTION(
      ErppCounterTypeTable::getSchanAddress(num(ChipType::BCM88850_A0), 1, a, s, b, 0, 8, 0),
      "tableEntry < 8");
  EXPECT_ASSERTION(ErppCounterTypeTable::entries(num(ChipType::BCM88850_A0), 2), "0");
}

TEST(ErppTables, ProfileTableHoldsBothCounters) {
  auto before = tc::randomBytes(4, 11);
  auto buf = before;
  ErppOutlifProfileToCounterProfileTable p(ChipType::BCM88859_A2, buf.data(), 4, false, 0);
  p.outlifProfileCounterProfileIs(0, 5);
  p.outlifProfileCounterProfileIs(1, 2);
  EXPECT_EQ(buf[0] & 0x3f, 0x15);
  EXPECT_EQ(tc::changedOutside(before, buf, 0, 6), 0u);
  EXPECT_EQ(p.outlifProfileCounterProfile(0), 5);
  EXPECT_EQ(p.outlifProfileCounter1Profile(), 2);
  EXPECT_ASSERTION(p.outlifProfileCounterProfileIs(1, 8), "value <= 0x7");
  EXPECT_MESSAGE_ASSERTION(p.outlifProfileCounterProfile(2),
                           "Array index 2 out of range for outlifProfileCounterProfile", "0");
  EXPECT_MESSAGE_ASSERTION(p.outlifProfileCounterProfileIs(2, 0),
                           "Array index 2 out of range for outlifProfileCounterProfileIs", "0");
  U32 a = 0, s = 0, b = 0;
  EXPECT_ASSERTION(ErppOutlifProfileToCounterProfileTable::getSchanAddress(
                       num(ChipType::BCM88859_A2), 0, a, s, b, 0, 16, 0),
                   "tableEntry < 16");
}

TEST(ErppRegisters, FieldsAndChecks) {
  std::vector<U8> buf(4, 0);
  ErppCounterReg reg(ChipType::BCM88690_B0, buf.data(), 4, false, 0);
  reg.counterPtrNullIs(0xfffff);
  EXPECT_EQ(buf, (std::vector<U8>{0xc0, 0xff, 0xff, 0x03}));
  reg.counterProfileSkipIs(5);
  reg.counterProfileInvalidIs(2);
  EXPECT_EQ(buf[0], 0xc0 | 0x15);
  EXPECT_EQ(reg.counterPtrNull(), 0xfffffu);
  EXPECT_EQ(reg.stringField("counterProfileInvalid", 0), 2u);
  EXPECT_EQ(reg.allFieldsMask()[3], 0x03);
  EXPECT_EQ(reg.allFieldsMask()[4], 0);
  std::vector<U8> ones(4, 0xff);
  ErppCounterReg full(ChipType::BCM88850_A0, ones.data(), 4, false, 0);
  EXPECT_EQ(full.getAllFields(), 0x3ffffffu);

  std::vector<U8> three(3, 0);
  ErppCounterReg shortReg(ChipType::BCM88800_A0, three.data(), 3, false, 0);
  shortReg.counterProfileInvalidIs(7);
  EXPECT_EQ(three[0], 0x38);
  EXPECT_ASSERTION(shortReg.counterPtrNullIs(1), "len_ >= 4");

  ErppDeviceCfgBtr::WithStorage btr(ChipType::BCM88480_B0, 0);
  btr.deviceCfgBtrIs(127);
  EXPECT_EQ(btr.deviceCfgBtr(), 127);
  btr.setField64(103, 0x105);  // the U8 conversion drops bit 8
  EXPECT_EQ(btr.deviceCfgBtr(), 5);
  EXPECT_ASSERTION(btr.setField64(103, 0x180), "value <= 0x7f");
}
