// Construction, buffers, the base classes' defaults and the trace lines.
#include <regex>

#include "TestSupport.h"

using namespace Hardware;

namespace {

TEST(Construction, RefusesPairsTheClassDoesNotKnow) {
  U8 buf[8] = {};
  EXPECT_MESSAGE_ASSERTION(
      CrpsEngineInitRequest(ChipType::BCM88690_B0, buf, 8, false, 1),
      " chipType: BCM88690_B0 variant: 1 not in metainfo for CrpsEngineInitRequest!", "0");
  EXPECT_MESSAGE_ASSERTION(
      CrpsReservedSpare2(ChipType::BCM88690_B0, buf, 8, false, 0),
      " chipType: BCM88690_B0 variant: 0 not in metainfo for CrpsReservedSpare2!", "0");
  // A foreign chip number stops every constructor the same way.
  const auto foreign = static_cast<ChipType>(13);
  EXPECT_MESSAGE_ASSERTION(CrpsTypeMapMem(foreign, buf, 8, false, 0),
                           "variant: 0 not in metainfo for CrpsTypeMapMem!", "0");
  EXPECT_MESSAGE_ASSERTION(CrpsModulesrcCfg::WithStorage(foreign, 0),
                           "variant: 0 not in metainfo for CrpsModulesrcCfg!", "0");
}

TEST(Construction, ShortBufferIsCheckedPerAccessNotAtConstruction) {
  U8 buf[4] = {0xff, 0xff, 0xff, 0xff};
  CrpsEngineInitRequest r(ChipType::BCM88690_B0, buf, 4, false, 0);
  EXPECT_EQ(0x3fffffu, r.engineInitRequest());  // 22 bits need 3 bytes
  EXPECT_ASSERTION(r.getAllFields(), "len_ >= 8");
  CrpsModulesrcCfg m(ChipType::BCM88860_A0, buf, 4, false, 0);
  EXPECT_EQ(0x1fu, m.modulesrcNMmuxSourceSelect());
  EXPECT_ASSERTION(m.modulesrcNPtrBaseNormalize(), "len_ >= 6");
}

TEST(WithStorage, OwnsZeroFilledArrayOfTheWidestEntry) {
  struct Case {
    std::shared_ptr<Orrery::AsicBase> object;
    U16 len;
  };
  const std::vector<Case> cases = {
      {std::make_shared<CrpsEngineInitRequest::WithStorage>(ChipType::BCM88800_A0, 0), 8},
      {std::make_shared<CrpsEngineInitRequest::WithStorage>(ChipType::BCM88690_B0, 0), 8},
      {std::make_shared<CrpsReservedSpare2::WithStorage>(ChipType::BCM88859_A2, 0), 4},
      {std::make_shared<CrpsModulesrcCfg::WithStorage>(ChipType::BCM88690_B0, 0), 16},
      {std::make_shared<CrpsTypeMapMem::WithStorage>(ChipType::BCM88870_A0, 0), 4},
  };
  for (const auto& c : cases) {
    EXPECT_EQ(c.len, c.object->len());
    for (U16 i = 0; i < c.object->len(); ++i) EXPECT_EQ(0, c.object->buf()[i]);
  }
  CrpsEngineInitRequest::WithStorage r(ChipType::BCM88800_A0, 0);
  EXPECT_EQ(0u, r.engineInitRequest());
  r.engineInitRequestIs(0x3ffffffffULL);
  EXPECT_EQ(0x3ffffffffULL, r.engineInitRequest());
}

TEST(ObjectModel, IsTableTellsRegistersFromMemories) {
  EXPECT_FALSE(CrpsEngineScanEnable::WithStorage(ChipType::BCM88690_B0, 0).isTable());
  EXPECT_FALSE(CrpsModulesrcCfg::WithStorage(ChipType::BCM88690_B0, 0).isTable());
  EXPECT_TRUE(CrpsTypeMapMem::WithStorage(ChipType::BCM88690_B0, 0).isTable());
  EXPECT_TRUE(CrpsTypeMapMem::WithStorage(ChipType::BCM88690_B0, 0).isPrimary());
}

TEST(ObjectModel, OperationsNoClassOverridesStopWithTheBaseText) {
  CrpsEngineInitRequest::WithStorage reg(ChipType::BCM88690_B0, 0);
  CrpsTypeMapMem::WithStorage mem(ChipType::BCM88690_B0, 0);
  const Orrery::AsicBase& r = reg;
  const Orrery::AsicBase& m = mem;
  const Orrery::BcmAsicBase& rb = reg;
  U32 a = 0, b = 0;
  U8 c = 0;
  EXPECT_DEATH(
      r.entries(),
      "Orrery/AsicBase:101: .*Assertion `false && \"entries invalid for this class\"' failed");
  EXPECT_DEATH(m.maxIdentifier(),
               "Orrery/AsicBase:104: .*Assertion `false && \"maxIdentifier invalid for this "
               "class\"' failed");
  EXPECT_DEATH(r.tableVariantCount(), "Orrery/AsicBase:173: .*Assertion `false' failed");
  EXPECT_DEATH(r.entrySpans(), "Orrery/AsicBase:178: .*Assertion `false' failed");
  for (const Orrery::AsicBase* o : {&r, &m}) {
    EXPECT_DEATH(o->sdkDefinedId(), "Orrery/AsicBase:144: .*Assertion `false' failed");
    EXPECT_DEATH(o->hasInstance(0), "Orrery/AsicBase:156: .*Assertion `false' failed");
    EXPECT_DEATH(o->compareTo(nullptr, 0), "Orrery/AsicBase:186: .*Assertion `0' failed");
  }
  for (const Orrery::BcmAsicBase* o : {&rb, static_cast<const Orrery::BcmAsicBase*>(&mem)}) {
    EXPECT_DEATH(o->hasMultipleMem(), "Orrery/BcmAsicBase:26: .*Assertion `0' failed");
    EXPECT_DEATH(o->groupId(0), "Orrery/BcmAsicBase:30: .*Assertion `0' failed");
    EXPECT_DEATH(o->numGroups(), "Orrery/BcmAsicBase:34: .*Assertion `0' failed");
    EXPECT_DEATH(o->groupInfo(0, a, b, c), "Orrery/BcmAsicBase:39: .*Assertion `0' failed");
    EXPECT_DEATH(o->memInfo(0, 0, a, b, a, b, a), "Orrery/BcmAsicBase:44: .*Assertion `0' failed");
  }
}

TEST(ObjectModel, AssertionsNameTheSourceUnitAndFullSignature) {
  CrpsEngineInitRequest::WithStorage r(ChipType::BCM88690_B0, 0);
  EXPECT_DEATH(r.engineInitRequestIs(0x400000),
               "TesselCountersMetaInfo:[0-9]+: void Hardware::CrpsEngineInitRequest::"
               "engineInitRequestIs\\(const U64&\\): Assertion `value <= 0x3fffff' failed");
  EXPECT_DEATH(CrpsEngineInitRequest::width(17, 8),
               "TesselCountersMetaInfo:[0-9]+: static U16 Hardware::CrpsEngineInitRequest::"
               "width\\(U32, U8\\): Assertion `variant == 0' failed");
}

}  // namespace
