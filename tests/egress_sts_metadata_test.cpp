// STS maps of ETPPB and the per-protocol statistic metadata registers of
// ETPPB and ETPPC: registers seen whole, per entry and through a short field.
#include <TesselCountersOrrery.h>

#include <algorithm>

#include "TestSupport.h"

using namespace Hardware;
using tc::num;

namespace {

// Per chip: address of the STS interface map, instances, and the addresses
// of the ETPPB and ETPPC protocol metadata registers.
// clang-format off
struct ChipRow { ChipType chip; U32 stsInterface; U16 instances; U32 etppb, etppc; };
const ChipRow kChips[] = {
    {ChipType::BCM88690_B0, 293, 2, 391, 308}, {ChipType::BCM88800_A0, 293, 1, 464, 308},
    {ChipType::BCM88850_A0, 291, 2, 390, 309}, {ChipType::BCM88859_A2, 291, 1, 390, 309},
    {ChipType::BCM88480_A0, 293, 1, 464, 309}, {ChipType::BCM88480_B0, 293, 1, 464, 309},
    {ChipType::BCM88490_A0, 270, 1, 327, 304}, {ChipType::BCM88860_A0, 270, 4, 341, 314},
    {ChipType::BCM88867_C0, 270, 4, 341, 314}, {ChipType::BCM88890_A0, 270, 4, 341, 314},
    {ChipType::BCM88890_B0, 270, 4, 341, 314}, {ChipType::BCM88897_C0, 270, 4, 341, 314},
    {ChipType::BCM88870_A0, 270, 4, 341, 314},
};
// clang-format on

U32 addressOf(const Orrery::AsicBase& obj, U16 ident) {
  U32 a = 0, s = 0, b = 0;
  EXPECT_TRUE(obj.getSchanAddress(a, s, b, ident, 0, 0));
  return a;
}

// STS numbers in the order of their hardware names as text.
std::vector<U32> stsInTextOrder() {
  std::vector<U32> n(32);
  for (U32 i = 0; i < 32; ++i) n[i] = i;
  std::sort(n.begin(), n.end(), [](U32 a, U32 b) {
    return "MAP_STS_" + std::to_string(a) + "_TO" < "MAP_STS_" + std::to_string(b) + "_TO";
  });
  return n;
}

}  // namespace

TEST(StsMaps, AddressesAndInstancesOnEveryChip) {
  for (const auto& r : kChips) {
    SCOPED_TRACE(num(r.chip));
    EtppbMapStsToInterface::WithStorage iface(r.chip, 0);
    EtppbMapStsToType::WithStorage type(r.chip, 0);
    EXPECT_FALSE(EtppbMapStsToInterface::chipTypeVariantValid(r.chip, 1));
    for (U16 ident : {U16(0), U16(r.instances - 1)}) {
      EXPECT_EQ(addressOf(iface, ident), r.stsInterface);
      EXPECT_EQ(addressOf(type, ident), r.stsInterface + 4);
    }
    // The trap shift row starts two above the type map: with the object
    // shifts on the older chips, with the Dp shift on 88490 and 88860x.
    U32 obj = 0, dp = 0, s = 0, b = 0;
    ASSERT_TRUE(EtppbCfgTrapObjShift::getSchanAddress(num(r.chip), 0, obj, s, b, 0, 0, 0));
    ASSERT_TRUE(EtppbCfgTrapDpInternalShift::getSchanAddress(num(r.chip), 0, dp, s, b, 0, 0, 0));
    EXPECT_EQ(std::min(obj, dp), r.stsInterface + 6);
    EXPECT_EQ(iface.instanceCount(), r.instances);
    EXPECT_FALSE(type.hasIdentifier(r.instances));
    EXPECT_EQ(iface.width(), 4);
    EXPECT_EQ(type.width(), 2);
    EXPECT_EQ(iface.fieldCount(), 34);
    EXPECT_EQ(type.fieldCount(), 34);
  }
}

// Entry ids interleave the two maps and follow the text order of the names.
TEST(StsMaps, EntryIdsInterleaveInTextOrder) {
  const auto order = stsInTextOrder();
  EtppbMapStsToInterface::WithStorage iface(ChipType::BCM88690_B0, 0);
  EtppbMapStsToType::WithStorage type(ChipType::BCM88690_B0, 0);
  for (U32 k = 0; k < 32; ++k) {
    const U32 n = order[k];
    SCOPED_TRACE("STS " + std::to_string(n));
    EXPECT_TRUE(iface.isFieldValid(336 + 2 * k));
    EXPECT_FALSE(iface.isFieldValid(337 + 2 * k));
    EXPECT_TRUE(type.isFieldValid(337 + 2 * k));
    EXPECT_FALSE(type.isFieldValid(336 + 2 * k));
    EXPECT_EQ(iface.fieldOffset(336 + 2 * k), 4 * n);
    EXPECT_EQ(type.fieldOffset(337 + 2 * k), 2 * n);
    EXPECT_EQ(iface.fieldWidth(336 + 2 * k), 4);
    EXPECT_EQ(type.fieldWidth(337 + 2 * k), 2);
  }
  // clang-format off
  const std::pair<U32, U32> ids[] = {
      {FieldIds::MAP_STS_0_TO_INTERFACE, 336}, {FieldIds::MAP_STS_10_TO_TYPE, 339},
      {FieldIds::MAP_STS_1_TO_INTERFACE, 358}, {FieldIds::MAP_STS_1_TO_TYPE, 359},
      {FieldIds::MAP_STS_9_TO_TYPE, 399}, {FieldIds::MAP_STS_TO_INTERFACE, 400},
      {FieldIds::MAP_STS_TO_TYPE, 401}};
  // clang-format on
  for (auto [id, expected] : ids) EXPECT_EQ(id, expected) << fieldIdName(expected);
  iface.setField64(FieldIds::MAP_STS_1_TO_INTERFACE, 0xa);
  EXPECT_EQ(iface.mapSts1ToInterface(), 0xa);
  type.setField64(FieldIds::MAP_STS_10_TO_TYPE, 2);
  EXPECT_EQ(type.mapSts10ToType(), 2);
}

TEST(StsMaps, EntryFiveAndTheLastEntry) {
  std::vector<U8> buf(16, 0);
  EtppbMapStsToInterface iface(ChipType::BCM88800_A0, buf.data(), 16, false, 0);
  iface.mapStsToInterfaceIs(5, 9);
  EXPECT_EQ(buf[2], 0x90);
  EXPECT_EQ(iface.mapSts5ToInterface(), 9);
  iface.mapStsToInterfaceIs(31, 0xf);
  EXPECT_EQ(buf[15], 0xf0);
  EXPECT_EQ(iface.mapSts31ToInterface(), 0xf);

  std::vector<U8> tbuf(8, 0);
  EtppbMapStsToType type(ChipType::BCM88870_A0, tbuf.data(), 8, false, 0);
  type.mapStsToTypeIs(31, 3);
  EXPECT_EQ(tbuf[7], 0xc0);
  EXPECT_EQ(type.mapStsToType(), 0xc000000000000000ull);
}

TEST(StsMaps, ShortFieldIsEntryZero) {
  EtppbMapStsToInterface::WithStorage iface(ChipType::BCM88480_B0, 0);
  iface.stsInterfaceIs(7);
  EXPECT_EQ(iface.mapSts0ToInterface(), 7);
  iface.mapSts0ToInterfaceIs(3);
  EXPECT_EQ(iface.stsInterface(), 3);
  EXPECT_EQ(iface.stsInterfaceLen(), 4);
  EXPECT_EQ(iface.stsInterfaceOffset(), 0);
  EXPECT_EQ(iface.fieldWidth(1187), 4);
  iface.setField64(1187, 0x10b);  // the low eight bits pass on
  EXPECT_EQ(iface.mapSts0ToInterface(), 0xb);
  EXPECT_ASSERTION(iface.setField64(1187, 0x10), "value <= 0xf");

  EtppbMapStsToType::WithStorage type(ChipType::BCM88859_A2, 0);
  type.stsTypeIs(2);
  EXPECT_EQ(type.mapSts0ToType(), 2);
  type.mapSts0ToTypeIs(1);
  EXPECT_EQ(type.stsType(), 1);
  EXPECT_EQ(type.stsTypeLen(), 2);
  EXPECT_EQ(type.fieldWidth(1188), 2);
}

// The interface map is a Raw128 field, the type map a U64 one; that decides
// what the id and name operations may do with them.
TEST(StsMaps, WholeMapsByIdAndName) {
  EtppbMapStsToInterface::WithStorage iface(ChipType::BCM88690_B0, 0);
  EXPECT_EQ(iface.mapStsToInterfaceLen(), 128);
  EXPECT_EQ(iface.fieldWidth(400), 128);
  EXPECT_EQ(iface.fieldOffset(400), 0);
  Raw128 map{};
  for (std::size_t i = 0; i < map.size(); ++i) map[i] = static_cast<U8>(0x11 * (i % 16) + 1);
  iface.mapStsToInterfaceIs(map);
  U64 lo = 0, hi = 0;
  for (int i = 7; i >= 0; --i) lo = (lo << 8) | map[i];
  for (int i = 15; i >= 8; --i) hi = (hi << 8) | map[i];
  EXPECT_EQ(iface.stringField("mapStsToInterface", 0), lo);
  EXPECT_EQ(iface.stringField("mapStsToInterface", 1), hi);
  EXPECT_ASSERTION(iface.setField64(400, 1), "false");
  EXPECT_ASSERTION(iface.stringFieldIs("mapStsToInterface", 1), "false");

  EtppbMapStsToType::WithStorage type(ChipType::BCM88690_B0, 0);
  EXPECT_EQ(type.mapStsToTypeLen(), 64);
  type.setField64(401, 0x0123456789abcdefull);
  EXPECT_EQ(type.mapStsToType(), 0x0123456789abcdefull);
  type.stringFieldIs("mapStsToType", 0xfedcba9876543210ull);
  EXPECT_EQ(type.stringField("mapStsToType", 0), 0xfedcba9876543210ull);
  EXPECT_EQ(type.stringField("mapStsToType", 5), 0xfedcba9876543210ull);
  EXPECT_EQ(type.mapSts0ToType(), 0);
  EXPECT_EQ(type.mapSts31ToType(), 3);
  type.mapStsToTypeIs(U64(~0ull));
  EXPECT_EQ(type.getAllFields(), ~0ull);

  // The indexed accessor is no field of the catalogue.
  EXPECT_MESSAGE_ASSERTION(type.stringField("mapStsToTypeIs", 0), "fieldName not found.", "false");
}

TEST(StsMaps, Checks) {
  std::vector<U8> two(2, 0);
  EtppbMapStsToInterface shortIface(ChipType::BCM88690_B0, two.data(), 2, false, 0);
  shortIface.mapSts3ToInterfaceIs(3);
  EXPECT_EQ(two[1], 0x30);
  EXPECT_ASSERTION(shortIface.mapStsToInterface(31), "len_ >= 16");

  EtppbMapStsToInterface::WithStorage iface(ChipType::BCM88860_A0, 0);
  EXPECT_EQ(iface.mapStsToInterface(31), 0);
  EXPECT_MESSAGE_ASSERTION(iface.mapStsToInterface(32),
                           "Array index 32 out of range for mapStsToInterface", "0");
  EXPECT_MESSAGE_ASSERTION(iface.mapStsToInterfaceIs(32, 0),
                           "Array index 32 out of range for mapStsToInterfaceIs", "0");
  EtppbMapStsToType::WithStorage type(ChipType::BCM88860_A0, 0);
  EXPECT_MESSAGE_ASSERTION(type.mapStsToTypeIs(32, 0),
                           "Array index 32 out of range for mapStsToTypeIs", "0");
}

// ---------------------------------------------------------------------------
// The twin per-protocol metadata registers.

namespace {

template <class X>
void checkMetadataTwin(ChipType chip) {
  SCOPED_TRACE(num(chip));
  std::vector<U8> buf(12, 0);
  X reg(chip, buf.data(), 12, false, 0);
  for (U32 n = 0; n < 32; ++n) EXPECT_EQ(reg.fieldOffset(1019 + n), 3 * n);
  reg.metadataByLayerTypeIs(10, 7);
  EXPECT_EQ(buf, (std::vector<U8>{0, 0, 0, 0xc0, 0x01, 0, 0, 0, 0, 0, 0, 0}));
  reg.metadataByLayerTypeIs(21, 5);
  EXPECT_EQ(buf[7], 0x80);
  EXPECT_EQ(buf[8], 0x02);
  EXPECT_EQ(reg.statMetadata21(), 5);

  Raw128 ones;
  ones.fill(0xff);
  reg.cfgStatMetadataCurrentProtocolTypeIs(ones);
  EXPECT_EQ(buf, std::vector<U8>(12, 0xff));
  const Raw128 back = reg.cfgStatMetadataCurrentProtocolType();
  for (std::size_t i = 0; i < 16; ++i) EXPECT_EQ(back[i], i < 12 ? 0xff : 0) << i;
  EXPECT_EQ(reg.stringField("cfgStatMetadataCurrentProtocolType", 0), ~0ull);
  EXPECT_EQ(reg.stringField("cfgStatMetadataCurrentProtocolType", 1), 0xffffffffull);
  EXPECT_EQ(reg.cfgStatMetadataCurrentProtocolTypeLen(), 96);
  EXPECT_EQ(reg.fieldWidth(6), 96);
  EXPECT_EQ(reg.fieldCount(), 33);
}

template <class X>
void checkMetadataDeaths(ChipType chip) {
  typename X::WithStorage reg(chip, 0);
  EXPECT_ASSERTION(reg.setField64(6, 1), "false");
  EXPECT_ASSERTION(reg.stringFieldIs("cfgStatMetadataCurrentProtocolType", 1), "false");
  EXPECT_MESSAGE_ASSERTION(reg.metadataByLayerType(32),
                           "Array index 32 out of range for metadataByLayerType", "0");
  EXPECT_MESSAGE_ASSERTION(reg.metadataByLayerTypeIs(32, 0),
                           "Array index 32 out of range for metadataByLayerTypeIs", "0");
  std::vector<U8> buf(11, 0);
  X shortReg(chip, buf.data(), 11, false, 0);
  shortReg.statMetadata28Is(1);
  EXPECT_EQ(buf[10], 0x10);
  EXPECT_ASSERTION(shortReg.statMetadata29Is(1), "len_ >= 12");
  EXPECT_ASSERTION(shortReg.cfgStatMetadataCurrentProtocolType(), "len_ >= 12");
  X tiny(chip, buf.data(), 2, false, 0);
  EXPECT_ASSERTION(tiny.metadataByLayerType(10), "len_ >= 5");
}

}  // namespace

TEST(ProtocolMetadata, TwinsAddressEveryChipApart) {
  for (const auto& r : kChips) {
    SCOPED_TRACE(num(r.chip));
    EtppbCfgStatMetadataForCurrentProtocolType::WithStorage b(r.chip, 0);
    EtppcCfgStatMetadataForCurrentProtocolType::WithStorage c(r.chip, 0);
    const U16 last = b.instanceCount() - 1;
    EXPECT_EQ(c.instanceCount(), b.instanceCount());
    EXPECT_EQ(addressOf(b, 0), r.etppb);
    EXPECT_EQ(addressOf(b, last), r.etppb);
    EXPECT_EQ(addressOf(c, 0), r.etppc);
    EXPECT_EQ(addressOf(c, last), r.etppc);
    EXPECT_EQ(b.width(), 3);
    EXPECT_EQ(c.width(), 3);
  }
  // Same instance, different block.
  U32 a = 0, s1 = 0, b1 = 0, s2 = 0, b2 = 0;
  ASSERT_TRUE(EtppbCfgStatMetadataForCurrentProtocolType::getSchanAddress(
      num(ChipType::BCM88690_B0), 0, a, s1, b1, 1, 0, 0));
  ASSERT_TRUE(EtppcCfgStatMetadataForCurrentProtocolType::getSchanAddress(
      num(ChipType::BCM88690_B0), 0, a, s2, b2, 1, 0, 0));
  EXPECT_EQ(s1, 10u);
  EXPECT_EQ(b1, 10u);
  EXPECT_EQ(s2, 12u);
  EXPECT_EQ(b2, 10u);
}

TEST(ProtocolMetadata, FieldsOfBothTwins) {
  for (ChipType chip : {ChipType::BCM88690_B0, ChipType::BCM88480_A0, ChipType::BCM88870_A0}) {
    checkMetadataTwin<EtppbCfgStatMetadataForCurrentProtocolType>(chip);
    checkMetadataTwin<EtppcCfgStatMetadataForCurrentProtocolType>(chip);
  }
}

TEST(ProtocolMetadata, ChecksOfBothTwins) {
  checkMetadataDeaths<EtppbCfgStatMetadataForCurrentProtocolType>(ChipType::BCM88800_A0);
  checkMetadataDeaths<EtppcCfgStatMetadataForCurrentProtocolType>(ChipType::BCM88490_A0);
}
