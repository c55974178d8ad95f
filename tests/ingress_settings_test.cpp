// Mapping memories, CGM settings, bank sources and timestamps: packed layouts
// that move with chip parameters, per-chip value limits and memory geometry.
#include <algorithm>

#include "TestSupport.h"

namespace {

using Hardware::ChipType;
using C = ChipType;
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

// Width of the queue numbers of the TM settings.
unsigned qOf(ChipType c) {
  switch (c) {
    case C::BCM88690_B0:
      return 16;
    case C::BCM88800_A0:
      return 17;
    case C::BCM88850_A0:
    case C::BCM88859_A2:
      return 18;
    case C::BCM88480_A0:
    case C::BCM88480_B0:
    case C::BCM88490_A0:
      return 15;
    default:
      return 16;
  }
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
  EXPECT_MESSAGE_ASSERTION(r.intIrppStatFilterMask(10),
                           "Array index 10 out of range for intIrppStatFilterMask", "0");
  EXPECT_MESSAGE_ASSERTION(r.intIrppStatFilterMaskIs(10, 0),
                           "Array index 10 out of range for intIrppStatFilterMaskIs", "0");
  EXPECT_MESSAGE_ASSERTION(r.intIrppStatHdrCmpMask(2),
                           "Array index 2 out of range for intIrppStatHdrCmpMask", "0");
  EXPECT_ASSERTION(r.intIrppStatHdrCmpMaskIs(0, 32), "value <= 0x1f");
  EXPECT_ASSERTION(r.intIrppStatMcOnceIs(0, 2), "value <= 0x1");
  for (ChipType chip : {C::BCM88480_A0, C::BCM88490_A0}) {
    Tm::WithStorage t(chip, 0);
    EXPECT_ASSERTION(t.intTmStatQnumLowIs(0, 0x8000), "value <= 0x7fff");
  }
  Tm::WithStorage t800(C::BCM88800_A0, 0), t850(C::BCM88850_A0, 0);
  EXPECT_ASSERTION(t800.intTmStatQnumLowIs(0, 0x20000), "value <= 0x1ffff");
  EXPECT_ASSERTION(t850.intTmStatQnumHighIs(1, 0x40000), "value <= 0x3ffff");
  EXPECT_ASSERTION(t850.intTmStatPtrShiftIs(1, 4), "value <= 0x3");
  EXPECT_MESSAGE_ASSERTION(t850.intTmStatQnumLow(2),
                           "Array index 2 out of range for intTmStatQnumLow", "0");
  std::vector<U8> buf(24, 0);
  struct Len {
    ChipType chip;
    U16 need;
  };
  for (Len l : {Len{C::BCM88690_B0, 12}, Len{C::BCM88800_A0, 12}, Len{C::BCM88850_A0, 13},
                Len{C::BCM88480_B0, 11}, Len{C::BCM88490_A0, 13}, Len{C::BCM88860_A0, 14}}) {
    Tm t(l.chip, buf.data(), l.need - 1, false, 0);
    EXPECT_ASSERTION(t.intTmStatHdrCmpMaskIs(1), "len_ >= " + std::to_string(l.need));
  }
  Irpp i690(C::BCM88690_B0, buf.data(), 23, false, 0);
  Tm t690(C::BCM88690_B0, buf.data(), 15, false, 0);
  EXPECT_ASSERTION(i690.getAllFields(), "len_ >= 24");
  EXPECT_ASSERTION(t690.getAllFields(), "len_ >= 16");
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
    EXPECT_EQ(m.entrySpans().spans, MapObj::_entrySpans_BCM88870_A0);
    EXPECT_EQ(f.entrySpans().spans, Flpb::_entrySpans_BCM88870_A0);
    EXPECT_TRUE(p.isPrimary());
    EXPECT_EQ(p.index_min() + p.arrayIndex_min(), 0u);
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
  MapObj::WithStorage m(C::BCM88690_B0, 0);
  PerPort::WithStorage p690(C::BCM88690_B0, 0), p860(C::BCM88860_A0, 0);
  Flpb::WithStorage f(C::BCM88490_A0, 0);
  Hdr::WithStorage h690(C::BCM88690_B0, 0), h850(C::BCM88850_A0, 0);
  EXPECT_ASSERTION(m.typeIs(4), "value <= 0x3");
  EXPECT_ASSERTION(m.isMeterIs(2), "value <= 0x1");
  EXPECT_ASSERTION(p690.objIdIs(0x100000), "value <= 0xfffff");
  EXPECT_ASSERTION(p690.objCmdIs(32), "value <= 0x1f");
  EXPECT_ASSERTION(f.fwdDomainStatisticsEnableIs(2), "value <= 0x1");
  EXPECT_ASSERTION(h850.ippHeaderDeltaIs(0x200), "value <= 0x1ff");
  std::vector<U8> buf(8, 0);
  MapObj m1(C::BCM88690_B0, buf.data(), 1, false, 0);
  m1.isMeterIs(1);
  EXPECT_ASSERTION(m1.mappingRequiredIs(1), "len_ >= 2");
  PerPort p2(C::BCM88690_B0, buf.data(), 2, false, 0), p3(C::BCM88690_B0, buf.data(), 3, false, 0);
  EXPECT_ASSERTION(p2.objIdIs(1), "len_ >= 3");
  EXPECT_ASSERTION(p3.objCmdIs(1), "len_ >= 4");
  Flpb f2(C::BCM88690_B0, buf.data(), 2, false, 0);
  EXPECT_ASSERTION(f2.fwdDomainStatisticsEnableIs(1), "len_ >= 3");
  Flpb f7(C::BCM88690_B0, buf.data(), 7, false, 0);
  EXPECT_ASSERTION(f7.getAllFields(), "len_ >= 8");
  Hdr h1(C::BCM88859_A2, buf.data(), 1, false, 0);
  EXPECT_ASSERTION(h1.ippHeaderDeltaIs(1), "len_ >= 2");
  U32 a, s, b;
  EXPECT_ASSERTION(p690.getSchanAddress(a, s, b, 0, 1023, 0), "tableEntry < 256");
  EXPECT_ASSERTION(h690.getSchanAddress(a, s, b, 0, 256, 0), "tableEntry < 256");
  EXPECT_ASSERTION(m.getSchanAddress(a, s, b, 0, 32, 0), "tableEntry < 32");
  EXPECT_ASSERTION(h690.getSchanAddress(a, s, b, 0, 0, 1), "arrayIndex == 0");
  EXPECT_ASSERTION(p860.getSchanAddress(a, s, b, 0, 0, 1), "arrayIndex < 1");
  EXPECT_ASSERTION(p860.getSchanAddress(a, s, b, 4, 0, 0),
                   "hasIdentifier( chipType, variant, identifier )");
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
    const Raw8192 mask = x.allFieldsMask();
    for (unsigned bit = 0; bit < 96; ++bit)
      ASSERT_EQ((mask[bit / 8] >> (bit % 8)) & 1, bit < 2 + 2 * (k.b + k.c) ? 1 : 0) << bit;
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
    std::fill_n(const_cast<U8*>(x.buf()), 12, 0xff);
    const Raw128 all = x.getAllFields();
    for (unsigned i = 12; i < 16; ++i) EXPECT_EQ(all[i], 0);
  }
}

TEST(BankSourceDeath, Checks) {
  Mcp::WithStorage m690(C::BCM88690_B0, 0), m850(C::BCM88850_A0, 0), m860(C::BCM88860_A0, 0),
      m490(C::BCM88490_A0, 0);
  EXPECT_EQ(m850.engDbCBankSource(35), 0);
  EXPECT_EQ(m490.engDbBBankSource(4), 0);
  EXPECT_ASSERTION(m860.engDbCBankSource(35), "0");
  EXPECT_ASSERTION(m690.engDbBBankSource(0), "0");
  EXPECT_ASSERTION(m690.engDbBBankSourceIs(0, 1), "0");
  EXPECT_ASSERTION(m490.engDbBBankSource(5), "0");
  EXPECT_MESSAGE_ASSERTION(m690.engDbBBankSource(8),
                           "Array index 8 out of range for engDbBBankSource", "0");
  for (Mcp* m : {&m850, &m860})
    EXPECT_MESSAGE_ASSERTION(m->engDbCBankSource(36),
                             "Array index 36 out of range for engDbCBankSource", "0");
  EXPECT_MESSAGE_ASSERTION(m490.engDbABankSourceIs(2, 0),
                           "Array index 2 out of range for engDbABankSourceIs", "0");
  EXPECT_MESSAGE_ASSERTION(
      m490.engDbCBank5SourceLen(),
      " chipType: BCM88490_A0 variant: 0 does not have field ENG_DB_C_BANK_5_SOURCE", "0");
  for (Mcp* m : {&m690, &m860}) EXPECT_ASSERTION(m->engDbABankSourceIs(1, 2), "value <= 0x1");
  EXPECT_ASSERTION(m850.engDbCBankSourceIs(20, 4), "value <= 0x3");
  std::vector<U8> buf(12, 0);
  struct Len {
    ChipType chip;
    U16 need;
  };
  for (Len l : {Len{C::BCM88800_A0, 2}, Len{C::BCM88490_A0, 3}, Len{C::BCM88860_A0, 4}}) {
    Mcp m(l.chip, buf.data(), l.need - 1, false, 0);
    EXPECT_ASSERTION(m.engDbCBankSourceIs(3, 2), "len_ >= " + std::to_string(l.need));
  }
  Mcp m11(C::BCM88690_B0, buf.data(), 11, false, 0);
  EXPECT_ASSERTION(m11.getAllFields(), "len_ >= 12");
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
