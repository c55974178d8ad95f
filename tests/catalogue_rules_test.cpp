// The catalogue's rules that the catalogue-wide properties don't see: one case
// each of a formula series, a field valid on one variant, an address formula
// in the variant, a view over other fields, a field wider than 64 bits, a
// memory's spans and table variants, indexed accessors, the expansion map's
// engine groups and the CDU's blocks per variant. Where the rule is a relation
// the test checks the relation on every chip rather than restating numbers.
#include <set>

#include "TestSupport.h"

using namespace Hardware;

namespace {

U32 address(const Orrery::AsicBase& o, U16 identifier = 0, U32 entry = 0, U16 element = 0) {
  U32 a = 0, sub = 0, block = 0;
  EXPECT_TRUE(o.getSchanAddress(a, sub, block, identifier, entry, element));
  return a;
}

std::pair<U32, U32> blockOf(const Orrery::AsicBase& o, U16 identifier) {
  U32 a = 0, sub = 0, block = 0;
  EXPECT_TRUE(o.getSchanAddress(a, sub, block, identifier, 0, 0));
  return {sub, block};
}

}  // namespace

// Ten masks of m bits, ten one-bit flags behind them, two 5-bit masks behind
// those: m is the first mask's width on the chip, 8 or 16.
TEST(Series, CgmSettingsPackFromTheMaskWidth) {
  for (ChipType chip : tc::allChips()) {
    CgmIntIrppStatSettings::WithStorage s(chip, 0);
    const unsigned m = s.intIrppStatRjctFilterMask0Len();
    ASSERT_TRUE(m == 8 || m == 16);
    for (U32 n = 0; n < 10; ++n) {
      EXPECT_EQ(m * n, s.fieldOffset(FieldIds::INT_IRPP_STAT_RJCT_FILTER_MASK_0 + n));
      EXPECT_EQ(m, s.fieldWidth(FieldIds::INT_IRPP_STAT_RJCT_FILTER_MASK_0 + n));
      EXPECT_EQ(10 * m + n, s.fieldOffset(FieldIds::INT_IRPP_STAT_MC_ONCE_0 + n));
    }
    EXPECT_EQ(10 * m + 10, s.intIrppStatHdrCmpMask0Offset());
    EXPECT_EQ(10 * m + 15, s.intIrppStatHdrCmpMask1Offset());
    // A U16 mask 8 bits wide takes any U16 and keeps the low byte.
    s.intIrppStatRjctFilterMask0Is(0x1ff);
    EXPECT_EQ(m == 8 ? 0xff : 0x1ff, s.intIrppStatRjctFilterMask0());
  }
}

// Shift N exists on variant N only, and variant v's register lies v above variant 0's.
TEST(Variants, TrapObjectShiftOnItsOwnVariantAtItsOwnAddress) {
  int pairs = 0;
  for (ChipType chip : tc::allChips()) {
    for (U8 v = 0; EtppbCfgTrapObjShift::chipTypeVariantValid(chip, v); ++v, ++pairs) {
      EtppbCfgTrapObjShift::WithStorage s(chip, v);
      EtppbCfgTrapObjShift::WithStorage first(chip, 0);
      EXPECT_EQ(address(first) + v, address(s));
      for (U32 n = 0; n < 10; ++n)
        EXPECT_EQ(n == v, s.isFieldValid(FieldIds::CFG_TRAP_OBJ_0_SHIFT + n)) << int(v) << " " << n;
    }
  }
  EXPECT_GT(pairs, static_cast<int>(tc::allChips().size()));
  EtppbCfgTrapObjShift::WithStorage third(ChipType::BCM88690_B0, 3);
  EXPECT_ASSERTION(third.cfgTrapObj4ShiftOffset(), "variant_ == 4");
  EXPECT_ASSERTION(third.fieldOffset(FieldIds::CFG_TRAP_OBJ_4_SHIFT), "variant_ == 4");
  // A field of several other variants of the chip (interfaces 4 to 7) stops at "0".
  CrpsIfAdapterCgmIrppCfg::WithStorage firstInterface(ChipType::BCM88690_B0, 0);
  EXPECT_ASSERTION(firstInterface.cgmIrpp4ExpansionSelectAOffset(), "0");
}

// The table seen whole holds every entry's bits; an entry's second name reads
// the first entry's Uc bits.
TEST(Views, MetadataMapHoldsItsEntries) {
  for (ChipType chip : {ChipType::BCM88690_B0, ChipType::BCM88860_A0}) {
    IppaStatisticsInfo::WithStorage s(chip, 0);
    for (U32 n = 0; n < 32; ++n) {
      s.metadataMcByLayerTypeIs(n, static_cast<U8>(n % 8));
      s.metadataUcByLayerTypeIs(n, static_cast<U8>(7 - n % 8));
    }
    const Raw512 whole = s.statMetaDataMap();
    IppaStatisticsInfo::WithStorage copy(chip, 0);
    copy.statMetaDataMapIs(whole);
    EXPECT_EQ(0, std::memcmp(s.buf(), copy.buf(), s.len()));
    EXPECT_EQ(s.statMetadata0Uc(), s.statMetaDataMapEntry());
    const unsigned bits = s.statMetaDataMapLen();
    for (unsigned bit = bits; bit < 512; ++bit) EXPECT_FALSE((whole[bit / 8] >> (bit % 8)) & 1);
  }
}

// 72 bits: read by name a word at a time, never written as one 64-bit value.
TEST(WideFields, AvoidSeqScanValueByWordOnly) {
  CrpsEngineCfg::WithStorage s(ChipType::BCM88860_A0, 0);
  Raw128 value{};
  for (std::size_t i = 0; i < value.size(); ++i) value[i] = static_cast<U8>(0x11 * (i + 1));
  s.engineNAvoidSeqScanValueIs(value);
  const Raw128 back = s.engineNAvoidSeqScanValue();
  U64 low, high = 0;
  std::memcpy(&low, back.data(), 8);
  std::memcpy(&high, back.data() + 8, 8);
  EXPECT_EQ(low, s.stringField("engineNAvoidSeqScanValue", 0));
  EXPECT_EQ(high, s.stringField("engineNAvoidSeqScanValue", 1));
  EXPECT_EQ(0u, high >> 8);  // bits 64..71 only
  EXPECT_ASSERTION(s.stringField("engineNAvoidSeqScanValue", 2), "word < 2");
  EXPECT_ASSERTION(s.setField64(FieldIds::ENGINE_N_AVOID_SEQ_SCAN_VALUE, 1), "false");
  EXPECT_ASSERTION(s.stringFieldIs("engineNAvoidSeqScanValue", 1), "false");
}

// A memory's one span runs over all its entries; its table variants are its
// variants on the chip, none where it doesn't exist.
TEST(Memories, SpansAndTableVariants) {
  U32 pairs = 0;
  for (U32 chip = 0; chip < 256; ++chip) {
    U32 variants = 0;
    while (ErppCounterTypeTable::chipTypeVariantValid(static_cast<ChipType>(chip), variants))
      ++variants;
    EXPECT_EQ(variants, ErppCounterTypeTable::tableVariantCount(chip)) << chip;
    pairs += variants;
    for (U8 v = 0; v < variants; ++v) {
      const auto spans = ErppCounterTypeTable::entrySpans(chip, v);
      ASSERT_EQ(1u, spans.count);
      EXPECT_EQ(ErppCounterTypeTable::_entrySpans_BCM88859_A2, spans.spans);
      EXPECT_EQ(0u, spans.spans[0].firstEntry);
      EXPECT_EQ(ErppCounterTypeTable::entries(chip, v), spans.spans[0].size);
    }
  }
  EXPECT_GT(pairs, 1u);
  // Each variant reaches its own counter's field only.
  ErppCounterTypeTable::WithStorage second(ChipType::BCM88690_B0, 1);
  second.counterTypeIs(1, 3);
  EXPECT_EQ(3, second.counter1Type());
  EXPECT_ASSERTION(second.counterTypeIs(0, 3), "variant_ == 0");
}

// An indexed accessor reaches the field of its index, under another name too.
TEST(Indexed, ReachTheFieldOfTheirIndex) {
  CgmIntIrppStatSettings::WithStorage s(ChipType::BCM88860_A0, 0);
  for (U32 i = 0; i < 10; ++i) {
    s.intIrppStatFilterMaskIs(i, static_cast<U16>(0x100 + i));
    EXPECT_EQ(0x100 + i, s.stringField(("intIrppStatRjctFilterMask" + std::to_string(i)).c_str(), 0));
    EXPECT_EQ(0x100 + i, s.intIrppStatFilterMask(i));
  }
  EXPECT_MESSAGE_ASSERTION(s.intIrppStatFilterMask(10),
                           "Array index 10 out of range for intIrppStatFilterMask", "0");
}

// Variant e is engine e; the engines form groups, each a table range from its
// own base whose elements are the group's engines in order.
TEST(ExpansionMap, EngineGroupsCoverTheVariants) {
  for (ChipType chip : tc::allChips()) {
    U32 variants = 0;
    std::set<U32> bases;
    U32 elements = 0;
    while (CrpsExpansionMapMem::chipTypeVariantValid(chip, static_cast<U8>(variants))) {
      CrpsExpansionMapMem::WithStorage m(chip, static_cast<U8>(variants));
      if (bases.insert(address(m)).second) elements += m.arrayElements();
      const U16 last = static_cast<U16>(m.arrayElements() - 1);
      EXPECT_EQ(address(m) + last * m.entries() + m.entries() - 1,
                address(m, 0, m.entries() - 1, last));
      ++variants;
    }
    EXPECT_GT(variants, 1u) << tc::num(chip);
    EXPECT_EQ(variants, elements) << tc::num(chip);
    EXPECT_EQ(variants, CrpsExpansionMapMem::tableVariantCount(tc::num(chip)));
  }
}

// A CDU variant is a group of block instances at one address: the variants
// share the address, not the instances.
TEST(CduBlocks, VariantsAreDisjointInstanceGroups) {
  EXPECT_FALSE(CduInstrumentationResetLow::chipTypeVariantValid(ChipType::BCM88800_A0, 0));
  for (ChipType chip : {ChipType::BCM88690_B0, ChipType::BCM88850_A0, ChipType::BCM88859_A2}) {
    CduInstrumentationResetLow::WithStorage v0(chip, 0), v1(chip, 1);
    EXPECT_EQ(address(v0), address(v1));
    std::set<std::pair<U32, U32>> seen;
    for (U16 i = 0; i < v0.instanceCount(); ++i) seen.insert(blockOf(v0, i));
    EXPECT_EQ(v0.instanceCount(), seen.size());
    for (U16 i = 0; i < v1.instanceCount(); ++i) EXPECT_EQ(0u, seen.count(blockOf(v1, i)));
  }
}
