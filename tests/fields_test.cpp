// Field access by typed accessor, by identifier and by name; masks.
#include "TestSupport.h"

using namespace Hardware;

namespace {

// One layout of the engine vector registers: bits of the field per chip.
U16 vectorBits(ChipType c) {
  switch (c) {
    case ChipType::BCM88690_B0:
    case ChipType::BCM88490_A0:
      return 22;
    case ChipType::BCM88800_A0:
    case ChipType::BCM88850_A0:
    case ChipType::BCM88859_A2:
      return 34;
    case ChipType::BCM88480_A0:
    case ChipType::BCM88480_B0:
      return 14;
    default:
      return 32;
  }
}

const std::vector<std::pair<const char*, U32>> kVectors = {
    {"CrpsEngineInitRequest", FieldIds::ENGINE_INIT_REQUEST},
    {"CrpsEngineScanEnable", FieldIds::ENGINE_SCAN_ENABLE},
    {"CrpsEnginesDmaSelect", FieldIds::ENGINES_DMA_SELECT},
    {"CrpsEngineMmuxEn", FieldIds::ENGINE_MMUX_EN}};

std::string hex(U64 v) {
  char buf[32];
  std::snprintf(buf, sizeof(buf), "0x%llx", static_cast<unsigned long long>(v));
  return buf;
}

TEST(VectorFields, WriteExactlyTheEngineBitsOnEveryChip) {
  for (const auto& [name, id] : kVectors) {
    for (ChipType chip : tc::allChips()) {
      const U16 bits = vectorBits(chip);
      SCOPED_TRACE(std::string(name) + " chip " + std::to_string(tc::num(chip)));
      const U64 max = bits == 64 ? ~0ULL : (1ULL << bits) - 1;
      auto object = stringObj(name, chip, 0);
      EXPECT_EQ(bits, object->fieldWidth(id));
      EXPECT_EQ(0u, object->fieldOffset(id));
      EXPECT_TRUE(object->isFieldValid(id));

      // Over random bytes, the largest value and then zero touch only the field.
      auto before = tc::randomBytes(8, bits);
      auto buf = before;
      U8* raw = buf.data();
      auto accessor = [&]() -> std::unique_ptr<Orrery::AsicBase> {
        if (std::string(name) == "CrpsEngineInitRequest")
          return std::make_unique<CrpsEngineInitRequest>(chip, raw, 8, false, 0);
        if (std::string(name) == "CrpsEngineScanEnable")
          return std::make_unique<CrpsEngineScanEnable>(chip, raw, 8, false, 0);
        if (std::string(name) == "CrpsEnginesDmaSelect")
          return std::make_unique<CrpsEnginesDmaSelect>(chip, raw, 8, false, 0);
        return std::make_unique<CrpsEngineMmuxEn>(chip, raw, 8, false, 0);
      }();
      accessor->setField64(id, max);
      EXPECT_EQ(0u, tc::changedOutside(before, buf, 0, bits));
      EXPECT_EQ(max, accessor->stringField(fieldIdAccessorName(id), 0));
      accessor->stringFieldIs(fieldIdAccessorName(id), 0);
      EXPECT_EQ(0u, tc::changedOutside(before, buf, 0, bits));
      for (unsigned bit = 0; bit < bits; ++bit) EXPECT_FALSE(tc::bitOf(buf, bit));

      // Above the field: a value check where the width isn't 32.
      if (bits != 32) {
        EXPECT_ASSERTION(accessor->setField64(id, max + 1), "value <= " + hex(max));
      } else {
        accessor->setField64(id, 0x200000005ULL);
        EXPECT_EQ(5u, accessor->stringField(fieldIdAccessorName(id), 0));
        EXPECT_EQ(0u, tc::changedOutside(before, buf, 0, 32));
      }

      // Mask and getAllFields over all ones.
      const Raw8192 mask = object->allFieldsMask();
      for (unsigned bit = 0; bit < 8192; ++bit)
        ASSERT_EQ(bit < bits, static_cast<bool>((mask[bit / 8] >> (bit % 8)) & 1)) << bit;
      std::vector<U8> ones(8, 0xff);
      CrpsEngineInitRequest r(chip, ones.data(), 8, false, 0);
      EXPECT_EQ(max, r.getAllFields());
    }
  }
}

TEST(VectorFields, LengthChecksStopAtTheLastByte) {
  struct Case {
    ChipType chip;
    U16 need;
  };
  for (const Case& c : {Case{ChipType::BCM88690_B0, 3}, Case{ChipType::BCM88800_A0, 5},
                        Case{ChipType::BCM88480_A0, 2}, Case{ChipType::BCM88860_A0, 4}}) {
    std::vector<U8> buf(8, 0);
    CrpsEngineScanEnable ok(c.chip, buf.data(), c.need, false, 0);
    ok.engineScanEnableIs(1);
    EXPECT_EQ(1u, ok.engineScanEnable());
    CrpsEngineScanEnable shortBuf(c.chip, buf.data(), static_cast<U16>(c.need - 1), false, 0);
    const std::string text = "len_ >= " + std::to_string(c.need);
    EXPECT_ASSERTION(shortBuf.engineScanEnable(), text);
    EXPECT_ASSERTION(shortBuf.engineScanEnableIs(1), text);
    EXPECT_ASSERTION(shortBuf.getAllFields(), "len_ >= 8");
  }
}

TEST(VectorFields, ExamplesOfTheRegisterSheet) {
  CrpsEngineInitRequest::WithStorage r800(ChipType::BCM88800_A0, 0);
  EXPECT_ASSERTION(r800.engineInitRequestIs(0x400000000ULL), "value <= 0x3ffffffff");
  r800.engineInitRequestIs(0x3ffffffffULL);
  const U8* b = r800.buf();
  EXPECT_EQ(std::vector<U8>({0xff, 0xff, 0xff, 0xff, 0x03, 0, 0, 0}), std::vector<U8>(b, b + 8));
  EXPECT_EQ(1u, CrpsEngineInitRequest::width(10, 0));
  EXPECT_EQ(2u, CrpsEngineInitRequest::width(11, 0));
  const Raw8192 m10 = CrpsEngineInitRequest::allFieldsMask(10, 0);
  EXPECT_EQ(std::vector<U8>({0xff, 0xff, 0x3f, 0, 0}),
            std::vector<U8>(m10.begin(), m10.begin() + 5));
  const Raw8192 m11 = CrpsEngineInitRequest::allFieldsMask(11, 0);
  EXPECT_EQ(std::vector<U8>({0xff, 0xff, 0xff, 0xff, 0x03, 0}),
            std::vector<U8>(m11.begin(), m11.begin() + 6));
  CrpsEngineInitRequest::WithStorage r860(ChipType::BCM88860_A0, 0);
  r860.engineInitRequestIs(0x1ffffffffULL);
  EXPECT_EQ(0xffffffffu, r860.engineInitRequest());
  EXPECT_EQ(0, r860.buf()[4]);
  CrpsEngineInitRequest::WithStorage r690(ChipType::BCM88690_B0, 0);
  EXPECT_ASSERTION(r690.engineInitRequestIs(0x1ffffffffULL), "value <= 0x3fffff");
  EXPECT_EQ(22u, r690.engineInitRequestLen());
  EXPECT_EQ(0u, r690.engineInitRequestOffset());
  EXPECT_TRUE(r690.isEngineInitRequestValid());
}

TEST(ReservedSpare, ThirtyTwoBitsWithoutValueCheck) {
  std::vector<U8> buf(4, 0);
  CrpsReservedSpare2 r(ChipType::BCM88850_A0, buf.data(), 4, false, 0);
  r.reservedSpare2Is(0xffffffffu);
  EXPECT_EQ(0xffffffffu, r.reservedSpare2());
  EXPECT_EQ(0xffffffffu, r.getAllFields());
  EXPECT_EQ(32u, r.reservedSpare2Len());
  CrpsReservedSpare2 shortBuf(ChipType::BCM88859_A2, buf.data(), 3, false, 0);
  EXPECT_ASSERTION(shortBuf.reservedSpare2Is(1), "len_ >= 4");
  EXPECT_ASSERTION(shortBuf.getAllFields(), "len_ >= 4");
}

// Module source configuration: two layouts, fields present in one only.
struct ModField {
  U32 id;
  int l1Offset, l2Offset, width;  // -1: absent in that layout
};

const std::vector<ModField> kModFields = {
    {FieldIds::MODULESRC_N_MMUX_SOURCE_SELECT, 0, 0, 5},
    {FieldIds::MODULESRC_N_GROUP_SIZE, 5, -1, 6},
    {FieldIds::MODULESRC_N_GROUP_SIZE_0, -1, 5, 6},
    {FieldIds::MODULESRC_N_GROUP_SIZE_1, -1, 11, 6},
    {FieldIds::MODULESRC_N_TYPE_ADMN_MAP, 11, 17, 4},
    {FieldIds::MODULESRC_N_PTR_BASE_NORMALIZE, 15, 21, 20},
    {FieldIds::MODULESRC_N_ADDRESS_BASE_NORMALIZE, 35, -1, 26},
    {FieldIds::MODULESRC_N_ADDRESS_BASE_NORMALIZE_0, -1, 41, 26},
    {FieldIds::MODULESRC_N_ADDRESS_BASE_NORMALIZE_1, -1, 67, 26},
    {FieldIds::MODULESRC_N_ADDRESS_BASE_NORMALIZE_FOR_RECORD, -1, 93, 26},
    {FieldIds::MODULESRC_N_PHY_ADDRESS_EXCEED_MASK, 61, 119, 5},
};

bool isL2(ChipType c) {
  return c == ChipType::BCM88490_A0 || tc::num(c) >= 17;
}

TEST(ModuleSource, EveryFieldOnEveryChipThroughEveryPath) {
  for (ChipType chip : tc::allChips()) {
    std::vector<U8> buf = tc::randomBytes(16, tc::num(chip));
    CrpsModulesrcCfg m(chip, buf.data(), 16, false, 0);
    unsigned valid = 0;
    unsigned maskBits = 0;
    for (const auto& f : kModFields) {
      const int offset = isL2(chip) ? f.l2Offset : f.l1Offset;
      const std::string name = fieldIdAccessorName(f.id);
      SCOPED_TRACE(name + " chip " + std::to_string(tc::num(chip)));
      if (offset < 0) {
        EXPECT_FALSE(m.isFieldValid(f.id));
        EXPECT_EQ(0u, m.fieldWidth(f.id));
        EXPECT_ASSERTION(m.fieldOffset(f.id), "0");
        EXPECT_ASSERTION(m.setField64(f.id, 0), "0");
        EXPECT_ASSERTION(m.stringField(name.c_str(), 0), "0");
        EXPECT_ASSERTION(m.stringFieldIs(name.c_str(), 0), "0");
        continue;
      }
      ++valid;
      maskBits += f.width;
      EXPECT_TRUE(m.isFieldValid(f.id));
      EXPECT_EQ(f.width, m.fieldWidth(f.id));
      EXPECT_EQ(offset, m.fieldOffset(f.id));
      const U64 max = (1ULL << f.width) - 1;
      const auto before = buf;
      m.setField64(f.id, max);
      EXPECT_EQ(max, m.stringField(name.c_str(), 0));
      EXPECT_EQ(0u, tc::changedOutside(before, buf, offset, f.width));
      m.stringFieldIs(name.c_str(), 0);
      EXPECT_EQ(0u, m.stringField(name.c_str(), 3));
      EXPECT_EQ(0u, tc::changedOutside(before, buf, offset, f.width));
      EXPECT_ASSERTION(m.setField64(f.id, max + 1), "value <= " + hex(max));
      // The last byte the field reaches.
      const U16 need = static_cast<U16>((offset + f.width + 7) / 8);
      CrpsModulesrcCfg shortBuf(chip, buf.data(), static_cast<U16>(need - 1), false, 0);
      EXPECT_ASSERTION(shortBuf.stringField(name.c_str(), 0), "len_ >= " + std::to_string(need));
    }
    EXPECT_EQ(valid, m.fieldCount());
    // The layouts are packed from bit 0: the mask is one run of ones.
    std::vector<U8> ones(16, 0xff);
    CrpsModulesrcCfg all(chip, ones.data(), 16, false, 0);
    const Raw128 fields = all.getAllFields();
    for (unsigned bit = 0; bit < 128; ++bit)
      EXPECT_EQ(bit < maskBits, static_cast<bool>((fields[bit / 8] >> (bit % 8)) & 1)) << bit;
    EXPECT_EQ(isL2(chip) ? 124u : 66u, maskBits);
  }
}

TEST(ModuleSource, AbsentFieldsStopInTypedAccessorsWithTheirTexts) {
  CrpsModulesrcCfg::WithStorage l2(ChipType::BCM88490_A0, 0);
  EXPECT_FALSE(l2.isModulesrcNGroupSizeValid());
  EXPECT_ASSERTION(l2.modulesrcNGroupSize(), "0");
  EXPECT_ASSERTION(l2.modulesrcNGroupSizeIs(1), "0");
  EXPECT_ASSERTION(l2.modulesrcNGroupSizeOffset(), "0");
  EXPECT_MESSAGE_ASSERTION(
      l2.modulesrcNGroupSizeLen(),
      " chipType: BCM88490_A0 variant: 0 does not have field MODULESRC_N_GROUP_SIZE", "0");
  CrpsModulesrcCfg::WithStorage l1(ChipType::BCM88690_B0, 0);
  EXPECT_FALSE(l1.isModulesrcNGroupSize1Valid());
  EXPECT_MESSAGE_ASSERTION(l1.modulesrcNAddressBaseNormalizeForRecordLen(),
                           " chipType: BCM88690_B0 variant: 0 does not have field "
                           "MODULESRC_N_ADDRESS_BASE_NORMALIZE_FOR_RECORD",
                           "0");
  EXPECT_EQ(11u, l1.modulesrcNTypeAdmnMapOffset());
  EXPECT_EQ(17u, l2.modulesrcNTypeAdmnMapOffset());
  CrpsModulesrcCfg::WithStorage l860(ChipType::BCM88860_A0, 0);
  EXPECT_ASSERTION(l860.modulesrcNAddressBaseNormalize1Is(0x4000000), "value <= 0x3ffffff");
  // The exceed mask spans bytes 7 and 8 on 88690.
  std::vector<U8> buf(9, 0);
  CrpsModulesrcCfg nine(ChipType::BCM88690_B0, buf.data(), 9, false, 0);
  nine.modulesrcNPhyAddressExceedMaskIs(0x1f);
  EXPECT_EQ(0xe0, buf[7]);
  EXPECT_EQ(0x03, buf[8]);
  CrpsModulesrcCfg eight(ChipType::BCM88690_B0, buf.data(), 8, false, 0);
  EXPECT_ASSERTION(eight.modulesrcNPhyAddressExceedMaskIs(0x1f), "len_ >= 9");
}

TEST(ById, ConversionToTheFieldTypeComesBeforeTheValueCheck) {
  CrpsModulesrcCfg::WithStorage m(ChipType::BCM88690_B0, 0);
  // A U8 field of 4 bits: 0x100 becomes 0 and passes, 0x110 becomes 0x10 and stops.
  m.setField64(FieldIds::MODULESRC_N_TYPE_ADMN_MAP, 0x10f);
  EXPECT_EQ(0xfu, m.modulesrcNTypeAdmnMap());
  m.setField64(FieldIds::MODULESRC_N_TYPE_ADMN_MAP, 0x100);
  EXPECT_EQ(0u, m.modulesrcNTypeAdmnMap());
  EXPECT_ASSERTION(m.setField64(FieldIds::MODULESRC_N_TYPE_ADMN_MAP, 0x110), "value <= 0xf");
  m.stringFieldIs("modulesrcNTypeAdmnMap", 0x207);
  EXPECT_EQ(7u, m.modulesrcNTypeAdmnMap());
}

TEST(ById, ForeignIdentifiersAndNames) {
  CrpsEngineInitRequest::WithStorage r(ChipType::BCM88690_B0, 0);
  for (U32 id : {0u, 4u, 118u, FieldIds::ENGINE_SCAN_ENABLE, 1200u, 0xffffffffu}) {
    EXPECT_FALSE(r.isFieldValid(id));
    EXPECT_EQ(0u, r.fieldWidth(id));
  }
  EXPECT_ASSERTION(r.fieldOffset(119), "false");
  EXPECT_ASSERTION(r.setField64(119, 0), "false");
  EXPECT_MESSAGE_ASSERTION(r.stringField("EngineInitRequest", 0), "fieldName not found.", "false");
  EXPECT_MESSAGE_ASSERTION(r.stringField("engineInitRequestIs", 0), "fieldName not found.",
                           "false");
  EXPECT_MESSAGE_ASSERTION(r.stringFieldIs("engineInitReques", 0),
                           "fieldName not found or is const.", "false");
  EXPECT_MESSAGE_ASSERTION(r.stringFieldIs("ENGINE_INIT_REQUEST", 0),
                           "fieldName not found or is const.", "false");
  // stringField ignores the word for fields up to 64 bits.
  r.engineInitRequestIs(0x12345);
  for (U16 word : {0, 1, 7}) EXPECT_EQ(0x12345u, r.stringField("engineInitRequest", word));
}

TEST(Masks, AllFieldsMaskIsTheUnionOfValidFieldsAndZeroAbove) {
  const Raw8192 l1 = CrpsModulesrcCfg::allFieldsMask(10, 0);
  const Raw8192 l2 = CrpsModulesrcCfg::allFieldsMask(25, 0);
  for (unsigned bit = 0; bit < 8192; ++bit) {
    EXPECT_EQ(bit < 66, static_cast<bool>((l1[bit / 8] >> (bit % 8)) & 1)) << bit;
    EXPECT_EQ(bit < 124, static_cast<bool>((l2[bit / 8] >> (bit % 8)) & 1)) << bit;
  }
  EXPECT_ASSERTION(CrpsModulesrcCfg::allFieldsMask(13, 0), "0");
}

}  // namespace
