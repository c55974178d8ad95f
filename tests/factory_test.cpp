// Accessors by class name.
#include "AllocationCounter.h"
#include "TestSupport.h"

using namespace Hardware;

namespace {

// Storage and kind of each key are checked in factory_keys_test; here
// each object is fresh: its own zeroed buffer, untouched by the other's writes.
TEST(Factory, EveryCallGivesAFreshZeroedObject) {
  int made = 0;
  for (U32 i = 0; i < accessorClassCount(); ++i) {
    const char* name = accessorClassName(i);
    for (ChipType chip : {ChipType::BCM88850_A0, ChipType::BCM88490_A0}) {
      if (!Hardware::chipTypeVariantValid(name, chip, 0)) continue;
      auto a = stringObj(name, chip, 0);
      auto b = stringObj(name, chip, 0);
      ASSERT_NE(a->buf(), b->buf()) << name;
      U32 id = FieldIds::kFirst;
      while (id < FieldIds::kLast && (!a->isFieldValid(id) || a->fieldWidth(id) > 64)) ++id;
      a->setField64(id, 1);
      for (U16 k = 0; k < b->len(); ++k) ASSERT_EQ(0, b->buf()[k]) << name;
      ++made;
    }
  }
  EXPECT_GT(made, 0);
}

TEST(Factory, NamesAreExact) {
  for (const char* bad : {"crpsEngineInitRequest", "CrpsEngineInitReques", "CrpsEngineInitRequestX",
                          "", "CRPSENGINEINITREQUEST", " CrpsEngineInitRequest"}) {
    EXPECT_MESSAGE_ASSERTION(stringObj(bad, ChipType::BCM88690_B0, 0),
                             std::string("invalid name given: ") + bad,
                             "objMapIter != objMap.end()");
    EXPECT_MESSAGE_ASSERTION(Hardware::chipTypeVariantValid(bad, ChipType::BCM88690_B0, 0),
                             std::string("invalid name given: ") + bad,
                             "objMapIter != objMap.end()");
  }
}

TEST(Factory, PairsTheClassDoesNotKnow) {
  EXPECT_MESSAGE_ASSERTION(
      stringObj("CrpsModulesrcCfg", ChipType::BCM88690_B0, 1),
      " chipType: BCM88690_B0 variant: 1 not in metainfo for CrpsModulesrcCfg!", "0");
  EXPECT_MESSAGE_ASSERTION(stringObj("CrpsReservedSpare2", ChipType::BCM88860_A0, 0),
                           " not in metainfo for CrpsReservedSpare2!", "0");
  EXPECT_FALSE(Hardware::chipTypeVariantValid("CrpsReservedSpare2", ChipType::BCM88860_A0, 0));
  EXPECT_TRUE(Hardware::chipTypeVariantValid("CrpsReservedSpare2", ChipType::BCM88859_A2, 0));
}

TEST(Factory, OneAllocationPerObjectAndNoneForQueries) {
  // Build both maps first.
  stringObj("CrpsEngineInitRequest", ChipType::BCM88690_B0, 0);
  Hardware::chipTypeVariantValid("CrpsEngineInitRequest", ChipType::BCM88690_B0, 0);
  const Larch::String name("CrpsModulesrcCfg");
  const long before = tc::allocations();
  auto object = stringObj(name, ChipType::BCM88860_A0, 0);
  EXPECT_EQ(1, tc::allocations() - before);

  const long queries = tc::allocations();
  const Larch::String field("modulesrcNGroupSize0");
  U32 a, s, b;
  for (int i = 0; i < 10; ++i) {
    EXPECT_TRUE(Hardware::chipTypeVariantValid(name, ChipType::BCM88860_A0, 0));
    object->setField64(FieldIds::MODULESRC_N_GROUP_SIZE_0, 5);
    object->stringFieldIs(field, 6);
    EXPECT_EQ(6u, object->stringField(field, 0));
    EXPECT_TRUE(object->getSchanAddress(a, s, b, 3, 0, 31));
    object->allFieldsMask();
    object->fieldWidth(FieldIds::MODULESRC_N_GROUP_SIZE_0);
  }
  EXPECT_EQ(0, tc::allocations() - queries);
}

}  // namespace
