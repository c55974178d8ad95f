// Field access by typed accessor, by identifier and by name; masks. Write
// exactness of every field is proven by the catalogue-wide tests; here are the
// relations between fields and the particular texts and conversions.
#include <algorithm>
#include <set>

#include "TestSupport.h"

using namespace Hardware;

namespace {

// The one field of a vector register has a bit per engine (the module
// source configuration's elements) from bit 0.
TEST(VectorFields, ABitPerEngineOnEveryChip) {
  const std::pair<const char*, U32> vectors[] = {
      {"CrpsEngineInitRequest", FieldIds::ENGINE_INIT_REQUEST},
      {"CrpsEngineScanEnable", FieldIds::ENGINE_SCAN_ENABLE},
      {"CrpsEnginesDmaSelect", FieldIds::ENGINES_DMA_SELECT},
      {"CrpsEngineMmuxEn", FieldIds::ENGINE_MMUX_EN}};
  int wordWide = 0;
  for (const auto& [name, id] : vectors)
    for (ChipType chip : tc::allChips()) {
      auto o = stringObj(name, chip, 0);
      const U32 engines = CrpsModulesrcCfg::arrayElements(tc::num(chip), 0);
      EXPECT_EQ(engines, o->fieldWidth(id)) << name << " " << tc::num(chip);
      EXPECT_EQ(0u, o->fieldOffset(id));
      // At 32 bits there is no value check: the bits above are dropped.
      if (engines == 32) {
        ++wordWide;
        o->setField64(id, 0x200000005ULL);
        EXPECT_EQ(5u, o->stringField(fieldIdAccessorName(id), 0));
      }
    }
  EXPECT_GT(wordWide, 0);
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
  // getAllFields needs the whole entry, where the field needs 3 bytes.
  std::vector<U8> buf(8, 0);
  CrpsEngineScanEnable shortBuf(ChipType::BCM88690_B0, buf.data(), 3, false, 0);
  shortBuf.engineScanEnableIs(1);
  EXPECT_ASSERTION(shortBuf.getAllFields(), "len_ >= 8");
}

TEST(ReservedSpare, ThirtyTwoBitsWithoutValueCheck) {
  std::vector<U8> buf(4, 0);
  CrpsReservedSpare2 r(ChipType::BCM88850_A0, buf.data(), 4, false, 0);
  r.reservedSpare2Is(0xffffffffu);
  EXPECT_EQ(0xffffffffu, r.getAllFields());
  EXPECT_EQ(32u, r.reservedSpare2Len());
  CrpsReservedSpare2 shortBuf(ChipType::BCM88859_A2, buf.data(), 3, false, 0);
  EXPECT_ASSERTION(shortBuf.getAllFields(), "len_ >= 4");
}

// Module source configuration: two layouts, each packed from bit 0 without
// a gap or an overlap; a field of the other layout stops on every path.
TEST(ModuleSource, BothLayoutsPackedAndAbsentFieldsStopOnEveryPath) {
  std::set<U32> ids;  // of the class on any chip
  for (ChipType chip : tc::allChips())
    for (U32 id = FieldIds::kFirst; id <= FieldIds::kLast; ++id)
      if (CrpsModulesrcCfg::WithStorage(chip, 0).isFieldValid(id)) ids.insert(id);
  std::set<unsigned> layoutEnds;
  for (ChipType chip : tc::allChips()) {
    CrpsModulesrcCfg::WithStorage m(chip, 0);
    SCOPED_TRACE(tc::num(chip));
    std::vector<std::pair<unsigned, unsigned>> spans;  // offset, width
    for (U32 id : ids) {
      const std::string name = fieldIdAccessorName(id);
      if (m.isFieldValid(id)) {
        spans.push_back({m.fieldOffset(id), m.fieldWidth(id)});
      } else if (chip == ChipType::BCM88690_B0 || chip == ChipType::BCM88870_A0) {
        EXPECT_ASSERTION(m.fieldOffset(id), "0");
        EXPECT_ASSERTION(m.setField64(id, 0), "0");
        EXPECT_ASSERTION(m.stringField(name.c_str(), 0), "0");
        EXPECT_ASSERTION(m.stringFieldIs(name.c_str(), 0), "0");
      }
    }
    std::sort(spans.begin(), spans.end());
    unsigned end = 0;
    for (const auto& [offset, width] : spans) {
      EXPECT_EQ(end, offset);
      end = offset + width;
    }
    layoutEnds.insert(end);
    const Raw8192 mask = CrpsModulesrcCfg::allFieldsMask(tc::num(chip), 0);
    for (unsigned bit = 0; bit < 32u * m.width(); ++bit)
      EXPECT_EQ(bit < end, tc::bitOf({mask.begin(), mask.begin() + 32}, bit)) << bit;
  }
  EXPECT_EQ(2u, layoutEnds.size());
  EXPECT_ASSERTION(CrpsModulesrcCfg::allFieldsMask(13, 0), "0");
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

// A stopped call names the accessor it was made on, with the unit and line,
// whichever of its checks stopped it and whether or not its level is on.
TEST(TypedAccessors, AFailedCheckNamesTheAccessor) {
  std::array<U8, 44> buf{};
  CrpsEngineCfg c(ChipType::BCM88690_B0, buf.data(), 44, false, 0);
  CrpsEngineCfg shortBuf(ChipType::BCM88690_B0, buf.data(), 24, false, 0);
  const std::string unit = "TesselCountersMetaInfo:[0-9]+: ";
  EXPECT_DEATH(c.engineNScanCorEnableIs(2),
               unit +
                   tc::escapeRegex("void Hardware::CrpsEngineCfg::engineNScanCorEnableIs(U8): ") +
                   tc::assertion("value <= 0x1"));
  EXPECT_DEATH(shortBuf.engineNScanCorEnable(),
               unit +
                   tc::escapeRegex("U8 Hardware::CrpsEngineCfg::engineNScanCorEnable() const: ") +
                   tc::assertion("len_ >= 25"));
  EXPECT_DEATH(c.engineNLfsrEnable(),
               unit + tc::escapeRegex("U8 Hardware::CrpsEngineCfg::engineNLfsrEnable() const: ") +
                   tc::assertion("0"));
  EXPECT_DEATH(c.setField64(119, 0),
               unit +
                   tc::escapeRegex("virtual void Hardware::CrpsEngineCfg::setField64(U32, U64): ") +
                   tc::assertion("false"));
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

}  // namespace
