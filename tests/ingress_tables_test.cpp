// The layer-type tables, the two profile registers and the information map:
// aggregate, element and entry-0 views over the same bits.
#include "TestSupport.h"

namespace {

using Hardware::ChipType;
using C = ChipType;
using Ippa = Hardware::IppaStatisticsInfo;
using Ippf = Hardware::IppfStatisticsInfo;
using Attr = Hardware::IppfStatObjProfileAttr;
using Instr = Hardware::IppbCurrentLayerStatisticsMetaDataInstructionMap;
using Info = Hardware::IppbCurrentLayerStatisticsMetaDataInformationMap;

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
    U16 mapLen, ippfVttOffset, ippfFieldCount, ippaWidth;
  };
  for (const Case& c :
       {Case{C::BCM88690_B0, 192, 192, 68, 7}, Case{C::BCM88800_A0, 192, 192, 68, 7},
        Case{C::BCM88490_A0, 384, 384, 132, 13}, Case{C::BCM88860_A0, 384, 384, 132, 13}}) {
    Ippa::WithStorage a(c.chip, 0);
    Ippf::WithStorage f(c.chip, 0);
    EXPECT_EQ(a.statMetaDataMapLen(), c.mapLen);
    EXPECT_EQ(f.statMetaDataMapLen(), c.mapLen);
    EXPECT_EQ(f.vttDefaultLifStatObjProfileOffset(), c.ippfVttOffset);
    EXPECT_EQ(f.vttDefaultTermVsiObjProfileOffset(), c.ippfVttOffset + 5);
    EXPECT_EQ(a.vttDefaultLifStatObjProfileOffset(), 192);
    EXPECT_EQ(f.fieldCount(), c.ippfFieldCount);
    EXPECT_EQ(a.fieldCount(), 68);
    EXPECT_EQ(a.width(), c.ippaWidth);
    // getAllFields over all-ones: exactly the bits of the valid fields.
    std::fill_n(const_cast<U8*>(a.buf()), 52, 0xff);
    std::fill_n(const_cast<U8*>(f.buf()), 52, 0xff);
    const Raw512 ga = a.getAllFields(), gf = f.getAllFields();
    const unsigned ippaEnd = c.mapLen == 384 ? 384 : 202, ippfEnd = c.mapLen == 384 ? 394 : 202;
    for (unsigned bit = 0; bit < 512; ++bit) {
      ASSERT_EQ((ga[bit / 8] >> (bit % 8)) & 1, bit < ippaEnd ? 1 : 0) << bit;
      ASSERT_EQ((gf[bit / 8] >> (bit % 8)) & 1, bit < ippfEnd ? 1 : 0) << bit;
    }
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
  std::vector<U8> buf(52, 0);
  Ippa a690(C::BCM88690_B0, buf.data(), 23, false, 0);
  Raw512 zero{};
  EXPECT_ASSERTION(a690.statMetaDataMapIs(zero), "len_ >= 24");
  Ippa a860(C::BCM88860_A0, buf.data(), 47, false, 0);
  EXPECT_ASSERTION(a860.statMetaDataMapIs(zero), "len_ >= 48");
  Ippf f490(C::BCM88490_A0, buf.data(), 48, false, 0);
  EXPECT_ASSERTION(f490.vttDefaultLifStatObjProfileIs(1), "len_ >= 49");
  Ippa a490(C::BCM88490_A0, buf.data(), 24, false, 0);
  EXPECT_ASSERTION(a490.vttDefaultLifStatObjProfileIs(1), "len_ >= 25");
  // A caller's 28-byte buffer is enough for every field on L1, not for getAllFields.
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

  // Values, the Raw aggregate and foreign names.
  EXPECT_ASSERTION(a860s.setField64(1051, 0x108), "value <= 0x7");
  EXPECT_ASSERTION(a860s.statMetaDataMapEntryIs(8), "value <= 0x7");
  EXPECT_ASSERTION(a860s.vttDefaultLifStatObjProfileIs(32), "value <= 0x1f");
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
  EXPECT_MESSAGE_ASSERTION(instr.metadataSizeByProfile(32),
                           "Array index 32 out of range for metadataSizeByProfile", "0");
  EXPECT_MESSAGE_ASSERTION(instr.metadataShiftByProfileIs(32, 0),
                           "Array index 32 out of range for metadataShiftByProfileIs", "0");
  EXPECT_MESSAGE_ASSERTION(info.metadataByIndex(8),
                           "Array index 8 out of range for metadataByIndex", "0");
  EXPECT_ASSERTION(attr.statMetaDataEntryIs(0x40), "value <= 0x3f");
  EXPECT_ASSERTION(attr.metadataShiftByProfileIs(3, 16), "value <= 0xf");
  EXPECT_ASSERTION(instr.currentLayerSizeIs(4), "value <= 0x3");
  EXPECT_ASSERTION(info.metadataByIndexIs(2, 8), "value <= 0x7");
  EXPECT_ASSERTION(info.currentLayerStatisticsMetaDataInformationMapIs(0x1000000),
                   "value <= 0xffffff");
  EXPECT_ASSERTION(attr.setField64(1185, 0), "false");
  EXPECT_ASSERTION(instr.stringFieldIs("currentLayerStatisticsMetaDataInstructionMap", 0), "false");
  std::vector<U8> buf(24, 0);
  Attr attr4(C::BCM88690_B0, buf.data(), 4, false, 0);
  Instr instr3(C::BCM88690_B0, buf.data(), 3, false, 0);
  Attr attr23(C::BCM88690_B0, buf.data(), 23, false, 0);
  EXPECT_ASSERTION(attr4.stat5MetadataSizeIs(1), "len_ >= 5");
  EXPECT_ASSERTION(instr3.stat5MetadataSizeIs(1), "len_ >= 4");
  EXPECT_ASSERTION(attr23.statObjProfileAttrVecIs(Raw256{}), "len_ >= 24");
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

}  // namespace
