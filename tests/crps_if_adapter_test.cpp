// The interface adapter of the counter processor: the common register with its
// two layouts, the CGM TM selects, and the CGM IRPP and EGQ EPP selects whose
// variant picks the register.
#include <algorithm>
#include <string>

#include "TestSupport.h"

namespace {

using namespace Hardware;
using tc::allChips;
using tc::num;
namespace F = Hardware::FieldIds;

bool wideChip(ChipType c) {
  const std::vector<ChipType> set = tc::chips88860x();
  return c == ChipType::BCM88490_A0 || std::find(set.begin(), set.end(), c) != set.end();
}

// ---------------------------------------------------------------------------
// CrpsIfAdapterCfg and CrpsIfAdapterCgmTmCfg

TEST(CrpsIfAdapterCfg, IndexedAccessorsReachTheirFieldsOrStop) {
  for (ChipType chip : allChips()) {
    SCOPED_TRACE(chipTypeName(chip));
    CrpsIfAdapterCfg::WithStorage cfg(chip, 0);
    cfg.cgmTmPktsizeNotQsizeSelIs(1, 1);
    EXPECT_EQ(cfg.getAllFields()[0], 0x02);
    EXPECT_EQ(cfg.cgmTmPktsizeNotQsizeSelB(), 1);
    EXPECT_MESSAGE_ASSERTION(cfg.cgmTmPktsizeNotQsizeSel(2),
                             "Array index 2 out of range for cgmTmPktsizeNotQsizeSel", "0");
    EXPECT_ASSERTION(cfg.cgmIrppPacketSizeSelectIs(0x400), "value <= 0x3ff");
    EXPECT_MESSAGE_ASSERTION(cfg.erppExpansionSelectAByInterface(2),
                             "Array index 2 out of range for erppExpansionSelectAByInterface", "0");
    EXPECT_MESSAGE_ASSERTION(cfg.erppExpansionSelectDByInterfaceIs(7, 0),
                             "Array index 7 out of range for erppExpansionSelectDByInterfaceIs",
                             "0");
    EXPECT_EQ(cfg.isEgqErppCtr0ExpansionSelectAValid(), !wideChip(chip));
    EXPECT_EQ(cfg.isPmfaAdditionalPtrBitsFoldedInDataValid(), wideChip(chip));
    EXPECT_EQ(cfg.cgmIrppPacketSizeSelectOffset(), wideChip(chip) ? 2 : 146);
    if (wideChip(chip)) {
      // The selects are gone, their indexed accessors stay: index 0 and 1
      // stop inside the field's accessor, without a message.
      EXPECT_ASSERTION(cfg.erppExpansionSelectAByInterface(0), "0");
      EXPECT_ASSERTION(cfg.erppExpansionSelectCByInterfaceIs(1, 0), "0");
      EXPECT_ASSERTION(cfg.setField64(F::EGQ_ERPP_CTR_1_EXPANSION_SELECT_C, 0), "0");
      EXPECT_ASSERTION(cfg.stringField("itppLtncyCtrExpansionSelectA", 0), "0");
      EXPECT_MESSAGE_ASSERTION(cfg.egqErppCtr0ExpansionSelectALen(),
                               " does not have field EGQ_ERPP_CTR_0_EXPANSION_SELECT_A", "0");
      EXPECT_EQ(cfg.fieldWidth(F::ITPP_LTNCY_CTR_EXPANSION_SELECT_A), 0);
    } else {
      EXPECT_ASSERTION(cfg.pmfaAdditionalPtrBitsFoldedInDataIs(0), "0");
      EXPECT_MESSAGE_ASSERTION(cfg.epmfAdditionalPtrBitsFoldedInDataLen(),
                               " does not have field EPMF_ADDITIONAL_PTR_BITS_FOLDED_IN_DATA", "0");
    }
  }
  std::vector<U8> buf(20, 0);
  CrpsIfAdapterCfg cfg(ChipType::BCM88690_B0, buf.data(), 20, false, 0);
  cfg.erppExpansionSelectCByInterfaceIs(1, 0xffff);
  EXPECT_EQ(tc::changedOutside(std::vector<U8>(20, 0), buf, 114, 16), 0u);
  EXPECT_EQ(cfg.egqErppCtr1ExpansionSelectC(), 0xffff);
  EXPECT_EQ(cfg.erppExpansionSelectCByInterface(1), 0xffff);
  EXPECT_ASSERTION(CrpsIfAdapterCfg(ChipType::BCM88690_B0, buf.data(), 19, false, 0)
                       .cgmIrppPacketSizeSelectIs(1),
                   "len_ >= 20");
  CrpsIfAdapterCfg(ChipType::BCM88490_A0, buf.data(), 2, false, 0).cgmIrppPacketSizeSelectIs(0x3ff);
  std::vector<U8> reg(4, 0xff);
  EXPECT_ASSERTION(CrpsIfAdapterCfg(ChipType::BCM88870_A0, reg.data(), 4, false, 0).getAllFields(),
                   "len_ >= 20");
}

TEST(CrpsIfAdapterCgmTmCfg, SecondSelectCrossesIntoTheSecondWord) {
  std::vector<U8> buf(8, 0);
  CrpsIfAdapterCgmTmCfg tm(ChipType::BCM88897_C0, buf.data(), 8, false, 0);
  tm.cgmTmExpansionSelectAByInterfaceIs(1, 0x3fffff);
  EXPECT_EQ(tc::changedOutside(std::vector<U8>(8, 0), buf, 22, 22), 0u);
  EXPECT_EQ(tm.cgmTm1ExpansionSelectA(), 0x3fffffu);
  EXPECT_EQ(tm.cgmTmExpansionSelectAByInterface(0), 0u);
  EXPECT_ASSERTION(tm.cgmTmExpansionSelectAByInterfaceIs(1, 0x400000), "value <= 0x3fffff");
  EXPECT_MESSAGE_ASSERTION(tm.cgmTmExpansionSelectAByInterfaceIs(2, 0),
                           "Array index 2 out of range for cgmTmExpansionSelectAByInterfaceIs",
                           "0");
  EXPECT_ASSERTION(CrpsIfAdapterCgmTmCfg(ChipType::BCM88490_A0, buf.data(), 5, false, 0)
                       .cgmTm1ExpansionSelectA(),
                   "len_ >= 6");
  for (ChipType chip : allChips())
    EXPECT_EQ(CrpsIfAdapterCgmTmCfg::chipTypeVariantValid(chip, 0), wideChip(chip));
}

// ---------------------------------------------------------------------------
// CrpsIfAdapterCgmIrppCfg: variant v stands for interface v; the object
// answers for the interfaces of v's register only.

using IrppGetter = U64 (CrpsIfAdapterCgmIrppCfg::*)(U32) const;
const IrppGetter kIrppByLetter[4] = {&CrpsIfAdapterCgmIrppCfg::expansionSelectAByInterface,
                                     &CrpsIfAdapterCgmIrppCfg::expansionSelectBByInterface,
                                     &CrpsIfAdapterCgmIrppCfg::expansionSelectCByInterface,
                                     &CrpsIfAdapterCgmIrppCfg::expansionSelectDByInterface};

TEST(CrpsIfAdapterCgmIrppCfg, VariantSelectsTheRegisterOfItsInterface) {
  for (ChipType chip : {ChipType::BCM88690_B0, ChipType::BCM88480_B0, ChipType::BCM88490_A0,
                        ChipType::BCM88870_A0}) {
    const unsigned w = wideChip(chip) ? 48 : 36;
    for (U8 v = 0; v < 10; ++v) {
      SCOPED_TRACE(std::string(chipTypeName(chip)) + " variant " + std::to_string(v));
      const std::vector<U8> original = tc::randomBytes(96, v);
      std::vector<U8> buf = original;
      CrpsIfAdapterCgmIrppCfg irpp(chip, buf.data(), 96, false, v);
      EXPECT_EQ(irpp.width(), (v < 8 ? 16u : 8u) * w / 32);
      for (U32 i = 0; i < 10; ++i)
        for (U32 l = 0; l < 4; ++l) {
          const U32 id = F::CGM_IRPP_0_EXPANSION_SELECT_A + 4 * i + l;
          if (i / 4 != v / 4u) {
            EXPECT_FALSE(irpp.isFieldValid(id));
            if (i == (v / 4u + 1) % 3 * 4) {
              EXPECT_ASSERTION((irpp.*kIrppByLetter[l])(i), "0");
            }
            continue;
          }
          const unsigned offset = (4 * (i % 4) + l) * w;
          EXPECT_EQ(irpp.fieldOffset(id), offset);
          const U64 top = (U64{1} << w) - 1;
          irpp.setField64(id, top);
          EXPECT_EQ((irpp.*kIrppByLetter[l])(i), top);
          EXPECT_EQ(tc::changedOutside(original, buf, offset, w), 0u);
          buf = original;
        }
      EXPECT_MESSAGE_ASSERTION(irpp.expansionSelectAByInterface(10),
                               "Array index 10 out of range for expansionSelectAByInterface", "0");
      EXPECT_MESSAGE_ASSERTION(irpp.expansionSelectAByInterfaceIs(10, 0),
                               "Array index 10 out of range for expansionSelectAByInterfaceIs",
                               "0");
    }
  }
  CrpsIfAdapterCgmIrppCfg::WithStorage v0(ChipType::BCM88690_B0, 0), v4(ChipType::BCM88690_B0, 4);
  EXPECT_ASSERTION(v0.cgmIrpp4ExpansionSelectAIs(0), "0");
  EXPECT_ASSERTION(v0.cgmIrpp4ExpansionSelectAOffset(), "0");
  EXPECT_ASSERTION(v0.fieldOffset(F::CGM_IRPP_4_EXPANSION_SELECT_A), "0");
  EXPECT_ASSERTION(v0.stringFieldIs("cgmIrpp4ExpansionSelectA", 0), "0");
  EXPECT_MESSAGE_ASSERTION(v0.cgmIrpp4ExpansionSelectALen(),
                           " does not have field CGM_IRPP_4_EXPANSION_SELECT_A", "0");
  EXPECT_EQ(v0.fieldWidth(F::CGM_IRPP_4_EXPANSION_SELECT_A), 0);
  EXPECT_EQ(v4.cgmIrpp5ExpansionSelectBOffset(), 180);
  // 48 bits fit the wide chips' selects, not the narrow ones'.
  EXPECT_ASSERTION(v0.cgmIrpp0ExpansionSelectAIs(0x1000000000), "value <= 0xfffffffff");
  CrpsIfAdapterCgmIrppCfg::WithStorage wide(ChipType::BCM88860_A0, 0);
  wide.cgmIrpp0ExpansionSelectAIs(0xffffffffffff);
  EXPECT_ASSERTION(wide.cgmIrpp0ExpansionSelectAIs(0x1000000000000), "value <= 0xffffffffffff");
  std::vector<U8> buf(71, 0);
  EXPECT_ASSERTION(CrpsIfAdapterCgmIrppCfg(ChipType::BCM88690_B0, buf.data(), 71, false, 2)
                       .cgmIrpp3ExpansionSelectDIs(0),
                   "len_ >= 72");
  std::vector<U8> small(36, 0xff);
  CrpsIfAdapterCgmIrppCfg third(ChipType::BCM88690_B0, small.data(), 36, false, 8);
  EXPECT_EQ(third.cgmIrpp9ExpansionSelectD(), 0xfffffffffu);
  EXPECT_ASSERTION(third.getAllFields(), "len_ >= 96");
  for (ChipType chip : allChips()) {
    EXPECT_TRUE(CrpsIfAdapterCgmIrppCfg::chipTypeVariantValid(chip, 9));
    EXPECT_FALSE(CrpsIfAdapterCgmIrppCfg::chipTypeVariantValid(chip, 10));
  }
}

// ---------------------------------------------------------------------------
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
    const std::vector<U8> original = tc::randomBytes(76, r.variant);
    std::vector<U8> buf = original;
    CrpsIfAdapterEgqEppCtrCfg egq(r.chip, buf.data(), 76, false, r.variant);
    for (U32 n = 0; n < 32; ++n) {
      const U32 id = F::EXPANSION_SELECT_0 + n;
      if (n < r.first || n > r.last) {
        EXPECT_FALSE(egq.isFieldValid(id));
        EXPECT_EQ(egq.fieldWidth(id), 0);
        if (n == r.last + 1 || n + 1 == r.first) {
          EXPECT_ASSERTION(egq.expansionSelectByInterfaceAndType(n), "0");
        }
        continue;
      }
      const unsigned offset = r.base + 24 * (n - r.first);
      EXPECT_EQ(egq.fieldOffset(id), offset);
      egq.expansionSelectByInterfaceAndTypeIs(n, 0xffffff);
      EXPECT_EQ(egq.expansionSelectByInterfaceAndType(n), 0xffffffu);
      EXPECT_EQ(tc::changedOutside(original, buf, offset, 24), 0u);
      EXPECT_ASSERTION(egq.setField64(id, 0x1000000), "value <= 0xffffff");
      buf = original;
    }
    EXPECT_MESSAGE_ASSERTION(egq.expansionSelectByInterfaceAndType(32),
                             "Array index 32 out of range for expansionSelectByInterfaceAndType",
                             "0");
    EXPECT_MESSAGE_ASSERTION(egq.expansionSelectByInterfaceAndTypeIs(40, 0),
                             "Array index 40 out of range for expansionSelectByInterfaceAndTypeIs",
                             "0");
  }
  CrpsIfAdapterEgqEppCtrCfg::WithStorage narrow(ChipType::BCM88690_B0, 5),
      low(ChipType::BCM88890_B0, 0), high(ChipType::BCM88890_B0, 18);
  EXPECT_TRUE(narrow.isEtppLtncyCtrSelectValid());
  EXPECT_FALSE(narrow.isEgqEppLtncyCtrSelectValid());
  EXPECT_FALSE(low.isEgqEppLtncyCtrSelectValid());
  EXPECT_TRUE(high.isEgqEppLtncyCtrSelectValid());
  EXPECT_FALSE(high.isEtppLtncyCtrSelectValid());
  EXPECT_EQ(high.egqEppLtncyCtrSelectOffset(), 336);
  EXPECT_EQ(narrow.etppLtncyCtrSelectOffset(), 576);
  EXPECT_ASSERTION(low.egqEppTmExpansionSelectIs(0x4000), "value <= 0x3fff");
  EXPECT_ASSERTION(high.egqEppTmExpansionSelect(), "0");
  EXPECT_MESSAGE_ASSERTION(high.expansionSelect0Len(), " does not have field EXPANSION_SELECT_0",
                           "0");
  EXPECT_MESSAGE_ASSERTION(narrow.expansionSelect24Len(),
                           " does not have field EXPANSION_SELECT_24", "0");
  EXPECT_ASSERTION(narrow.stringFieldIs("expansionSelect31", 0), "0");
  std::vector<U8> buf(72, 0);
  EXPECT_ASSERTION(CrpsIfAdapterEgqEppCtrCfg(ChipType::BCM88690_B0, buf.data(), 72, false, 0)
                       .etppLtncyCtrSelectIs(1),
                   "len_ >= 73");
  std::vector<U8> ones(44, 0xff);
  CrpsIfAdapterEgqEppCtrCfg onRegister(ChipType::BCM88490_A0, ones.data(), 44, false, 18);
  EXPECT_EQ(onRegister.egqEppLtncyCtrSelect(), 1);
  EXPECT_EQ(onRegister.expansionSelect31(), 0xffffffu);
  EXPECT_ASSERTION(onRegister.getAllFields(), "len_ >= 76");
  EXPECT_TRUE(CrpsIfAdapterEgqEppCtrCfg::chipTypeVariantValid(ChipType::BCM88690_B0, 23));
  EXPECT_FALSE(CrpsIfAdapterEgqEppCtrCfg::chipTypeVariantValid(ChipType::BCM88690_B0, 24));
  EXPECT_FALSE(CrpsIfAdapterEgqEppCtrCfg::chipTypeVariantValid(ChipType::BCM88860_A0, 32));
}

// ---------------------------------------------------------------------------
// The factory knows the eight classes by name, on exactly their pairs, and
// its objects' buffers hold every field of the widest entry.

TEST(CrpsFactory, ClassesByName) {
  const struct {
    const char* name;
    unsigned rows;
    bool memory;
  } classes[] = {{"CrpsEngineCfg", 13, false},        {"CrpsEngineConditionalTriggerCfg", 9, false},
                 {"CrpsEngineEvictionCfg", 7, false}, {"CrpsExpansionMapMem", 366, true},
                 {"CrpsIfAdapterCfg", 13, false},     {"CrpsIfAdapterCgmIrppCfg", 130, false},
                 {"CrpsIfAdapterCgmTmCfg", 7, false}, {"CrpsIfAdapterEgqEppCtrCfg", 368, false}};
  for (const auto& k : classes) {
    SCOPED_TRACE(k.name);
    unsigned rows = 0;
    for (ChipType chip : allChips())
      for (U8 v = 0; v < 40; ++v) {
        if (!Hardware::chipTypeVariantValid(k.name, chip, v)) continue;
        ++rows;
        const auto obj = stringObj(k.name, chip, v);
        EXPECT_EQ(obj->isTable(), k.memory);
        for (U32 id = 0; id <= FieldIds::kLast; ++id)
          if (obj->isFieldValid(id) && obj->fieldWidth(id) < 64) {
            const U64 top = (U64{1} << obj->fieldWidth(id)) - 1;
            obj->setField64(id, top);
            ASSERT_EQ(obj->stringField(fieldIdAccessorName(id), 0), top) << fieldIdAccessorName(id);
          }
      }
    EXPECT_EQ(rows, k.rows);
  }
  EXPECT_FALSE(Hardware::chipTypeVariantValid("CrpsEngineEvictionCfg", ChipType::BCM88850_A0, 0));
  EXPECT_TRUE(Hardware::chipTypeVariantValid("CrpsExpansionMapMem", ChipType::BCM88800_A0, 33));
  EXPECT_MESSAGE_ASSERTION(stringObj("CrpsEngineCfg", ChipType::BCM88690_B0, 1),
                           " not in metainfo for CrpsEngineCfg!", "0");
  EXPECT_MESSAGE_ASSERTION(stringObj("CrpsIfAdapterCgmTmCfg", ChipType::BCM88690_B0, 0),
                           " not in metainfo for CrpsIfAdapterCgmTmCfg!", "0");
  EXPECT_MESSAGE_ASSERTION(stringObj("crpsEngineCfg", ChipType::BCM88690_B0, 0),
                           "invalid name given: crpsEngineCfg", "objMapIter != objMap.end()");
}

}  // namespace
