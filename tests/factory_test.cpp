// Accessors by class name.
// This program replaces the global allocation functions to count allocations;
// the compiler's pairing check of new and free doesn't apply to it.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"

#include <atomic>
#include <cstdlib>
#include <new>

#include "TestSupport.h"

namespace {
std::atomic<long> allocations{0};
}  // namespace

// Counts every allocation of this test program.
void* operator new(std::size_t n) {
  allocations.fetch_add(1);
  if (void* p = std::malloc(n ? n : 1)) return p;
  throw std::bad_alloc();
}
void operator delete(void* p) noexcept {
  std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
  std::free(p);
}

using namespace Hardware;

namespace {

struct Key {
  const char* name;
  U16 storage;
  U16 (*width)(U32, U8);
  bool memory;
};

const std::vector<Key> kKeys = {
    {"CrpsEngineInitRequest", 8, &CrpsEngineInitRequest::width, false},
    {"CrpsEngineMmuxEn", 8, &CrpsEngineMmuxEn::width, false},
    {"CrpsEngineScanEnable", 8, &CrpsEngineScanEnable::width, false},
    {"CrpsEnginesDmaSelect", 8, &CrpsEnginesDmaSelect::width, false},
    {"CrpsModulesrcCfg", 16, &CrpsModulesrcCfg::width, false},
    {"CrpsReservedSpare2", 4, &CrpsReservedSpare2::width, false},
    {"CrpsTypeMapMem", 4, &CrpsTypeMapMem::width, true},
};

TEST(Factory, EveryKeyOnEveryValidChipGivesAFreshZeroedObject) {
  for (const auto& k : kKeys) {
    for (ChipType chip : tc::allChips()) {
      if (!Hardware::chipTypeVariantValid(k.name, chip, 0)) continue;
      auto a = stringObj(k.name, chip, 0);
      auto b = stringObj(k.name, chip, 0);
      ASSERT_NE(a, b);
      EXPECT_NE(a->buf(), b->buf());
      EXPECT_EQ(k.storage, a->len()) << k.name;
      EXPECT_EQ(k.width(tc::num(chip), 0), a->width());
      EXPECT_EQ(k.memory, a->isTable());
      EXPECT_EQ(static_cast<U8>(chip), a->chipType());
      for (U16 i = 0; i < a->len(); ++i) EXPECT_EQ(0, a->buf()[i]);
      // Writing through one object leaves the other's buffer alone.
      U32 id = FieldIds::kFirst;
      while (!a->isFieldValid(id)) ++id;
      a->setField64(id, 1);
      EXPECT_EQ(1u, a->stringField(fieldIdAccessorName(id), 0));
      for (U16 i = 0; i < b->len(); ++i) EXPECT_EQ(0, b->buf()[i]);
    }
  }
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
  const long before = allocations.load();
  auto object = stringObj(name, ChipType::BCM88860_A0, 0);
  EXPECT_EQ(1, allocations.load() - before);

  const long queries = allocations.load();
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
  EXPECT_EQ(0, allocations.load() - queries);
}

TEST(Factory, ClassListNamesEveryKeyInAsciiOrder) {
  ASSERT_GE(accessorClassCount(), kKeys.size());
  for (U32 i = 1; i < accessorClassCount(); ++i)
    EXPECT_LT(std::string(accessorClassName(i - 1)), std::string(accessorClassName(i)));
  EXPECT_EQ(nullptr, accessorClassName(accessorClassCount()));
  for (const auto& k : kKeys) {
    bool found = false;
    for (U32 i = 0; i < accessorClassCount(); ++i)
      found |= std::string(accessorClassName(i)) == k.name;
    EXPECT_TRUE(found) << k.name;
  }
}

}  // namespace
