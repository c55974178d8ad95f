// Register geometry, S-channel addresses and the block map.
#include "TestSupport.h"

using namespace Hardware;

namespace {

// The four vector classes, their distance from the init request register.
struct VectorClass {
  const char* name;
  U32 distance;
  bool (*address)(U32, U8, U32&, U32&, U32&, U16, U32, U16);
  U16 (*width)(U32, U8);
  U16 (*instanceCount)(U32, U8);
};

template <class T>
VectorClass vectorClass(const char* name, U32 distance) {
  return {name, distance, &T::getSchanAddress, &T::width, &T::instanceCount};
}

const std::vector<VectorClass> kVectorClasses = {
    vectorClass<CrpsEngineInitRequest>("CrpsEngineInitRequest", 0),
    vectorClass<CrpsEngineScanEnable>("CrpsEngineScanEnable", 4),
    vectorClass<CrpsEnginesDmaSelect>("CrpsEnginesDmaSelect", 8),
    vectorClass<CrpsEngineMmuxEn>("CrpsEngineMmuxEn", 14),
};

// A vector register has a bit per engine (the module source configuration's
// elements) in whole words, lies at its distance from the init request
// register in every instance, and its instances are the CRPS block's.
TEST(Geometry, VectorRegistersOnEveryChipAndInstance) {
  int checked = 0;
  for (ChipType c : tc::allChips()) {
    const U32 chip = tc::num(c);
    const U32 engines = CrpsModulesrcCfg::arrayElements(chip, 0);
    const U16 instances = CrpsEngineInitRequest::instanceCount(chip, 0);
    for (const auto& k : kVectorClasses) {
      SCOPED_TRACE(std::string(k.name) + " on chip " + std::to_string(chip));
      EXPECT_EQ((engines + 31) / 32, k.width(chip, 0));
      EXPECT_EQ(instances, k.instanceCount(chip, 0));
      for (U16 id = 0; id < instances; ++id) {
        U32 address = 0, subBlock = 99, block = 99, init = 0, s = 0, b = 0;
        ASSERT_TRUE(k.address(chip, 0, address, subBlock, block, id, 0, 0));
        ASSERT_TRUE(CrpsEngineInitRequest::getSchanAddress(chip, 0, init, s, b, id, 0, 0));
        EXPECT_EQ(init + k.distance, address);
        TesselCounters::BlockMap::CRPS(chip, 0, id, s, b);
        EXPECT_EQ(std::make_pair(s, b), std::make_pair(subBlock, block)) << "identifier " << id;
        ++checked;
      }
    }
  }
  EXPECT_GE(checked, 4 * static_cast<int>(tc::allChips().size()));
}

TEST(Geometry, ReservedSpareExistsOnTwoChipsOnly) {
  for (ChipType c : {ChipType::BCM88850_A0, ChipType::BCM88859_A2}) {
    U32 address = 0, subBlock = 0, block = 0;
    ASSERT_TRUE(
        CrpsReservedSpare2::getSchanAddress(tc::num(c), 0, address, subBlock, block, 0, 0, 0));
    EXPECT_EQ(146u, address);
    EXPECT_EQ(1u, CrpsReservedSpare2::width(tc::num(c), 0));
  }
  EXPECT_EQ(2u, CrpsReservedSpare2::instanceCount(12, 0));
  EXPECT_EQ(1u, CrpsReservedSpare2::instanceCount(14, 0));
  EXPECT_ASSERTION(CrpsReservedSpare2::width(10, 0), "0");
  EXPECT_ASSERTION(CrpsReservedSpare2::instanceCount(12, 1), "variant == 0");
}

// An element per engine, two addresses apart; the init request register
// follows the last element at a distance of 4.
TEST(Geometry, ModuleSourceConfigStepsByTwoPerEngine) {
  for (ChipType c : tc::allChips()) {
    const U32 chip = tc::num(c);
    SCOPED_TRACE(chip);
    const U32 engines = CrpsModulesrcCfg::arrayElements(chip, 0);
    ASSERT_GT(engines, 1u);
    EXPECT_EQ(CrpsModulesrcCfg::width(chip, 0), CrpsModulesrcCfg::regWidth(chip, 0));
    EXPECT_EQ(2u, CrpsModulesrcCfg::addrStride(chip, 0));
    EXPECT_EQ(1u, CrpsEngineInitRequest::addrStride(chip, 0));
    U32 base = 0, address = 0, subBlock = 0, block = 0;
    ASSERT_TRUE(CrpsModulesrcCfg::getSchanAddress(chip, 0, base, subBlock, block, 0, 0, 0));
    ASSERT_TRUE(CrpsModulesrcCfg::getSchanAddress(chip, 0, address, subBlock, block, 0, 0,
                                                  static_cast<U16>(engines - 1)));
    EXPECT_EQ(base + 2 * (engines - 1), address);
    U32 next = 0;
    ASSERT_TRUE(CrpsEngineInitRequest::getSchanAddress(chip, 0, next, subBlock, block, 0, 0, 0));
    EXPECT_EQ(base + 2 * engines + 4, next);
    EXPECT_ASSERTION(CrpsModulesrcCfg::getSchanAddress(chip, 0, address, subBlock, block, 0, 0,
                                                       static_cast<U16>(engines)),
                     "arrayIndex < " + std::to_string(engines));
  }
  U32 address = 0, subBlock = 0, block = 0;
  ASSERT_TRUE(CrpsModulesrcCfg::getSchanAddress(11, 0, address, subBlock, block, 0, 0, 1));
  EXPECT_EQ(385u, address);
  ASSERT_TRUE(CrpsModulesrcCfg::getSchanAddress(10, 0, address, subBlock, block, 0, 0, 21));
  EXPECT_EQ(356u, address);
}

TEST(GetSchanAddress, UnknownPairGivesFalseAndLeavesOutputsAlone) {
  for (auto [chip, variant] : std::vector<std::pair<U32, U8>>{{10, 1}, {13, 0}, {266, 0}, {0, 0}}) {
    U32 address = 11, subBlock = 22, block = 33;
    EXPECT_FALSE(
        CrpsEngineInitRequest::getSchanAddress(chip, variant, address, subBlock, block, 0, 0, 0));
    EXPECT_FALSE(CrpsTypeMapMem::getSchanAddress(chip, variant, address, subBlock, block, 0, 0, 0));
    EXPECT_EQ(11u, address);
    EXPECT_EQ(22u, subBlock);
    EXPECT_EQ(33u, block);
  }
}

TEST(GetSchanAddress, ChecksTableEntryThenArrayIndexThenIdentifier) {
  U32 a = 0, s = 0, b = 0;
  EXPECT_ASSERTION(CrpsEngineInitRequest::getSchanAddress(10, 0, a, s, b, 9, 1, 0),
                   "tableEntry == 0");
  EXPECT_ASSERTION(CrpsEngineInitRequest::getSchanAddress(10, 0, a, s, b, 9, 0, 1),
                   "arrayIndex < 1");
  EXPECT_ASSERTION(CrpsEngineInitRequest::getSchanAddress(10, 0, a, s, b, 2, 0, 0),
                   "hasIdentifier( chipType, variant, identifier )");
  EXPECT_ASSERTION(CrpsEngineInitRequest::getSchanAddress(17, 0, a, s, b, 4, 0, 0),
                   "hasIdentifier( chipType, variant, identifier )");
  ASSERT_TRUE(CrpsEngineInitRequest::getSchanAddress(17, 0, a, s, b, 3, 0, 0));
  EXPECT_EQ(std::make_pair(0u, 873u), std::make_pair(s, b));
  // The instance form answers the same, with the object's chip and variant.
  CrpsEngineScanEnable::WithStorage scan(ChipType::BCM88860_A0, 0);
  ASSERT_TRUE(scan.getSchanAddress(a, s, b, 2, 0, 0));
  EXPECT_EQ(540u, a);
  EXPECT_EQ(617u, b);
}

TEST(Geometry, FailuresOfPlainQueries) {
  // A chip the class has with one variant names that variant; other chips "0".
  EXPECT_ASSERTION(CrpsEngineInitRequest::width(17, 8), "variant == 0");
  EXPECT_ASSERTION(CrpsEngineInitRequest::width(13, 0), "0");
  EXPECT_ASSERTION(CrpsEngineInitRequest::width(266, 0), "0");
  EXPECT_ASSERTION(CrpsEngineInitRequest::fieldCount(10, 1), "variant == 0");
  EXPECT_ASSERTION(CrpsEngineInitRequest::instanceCount(10, 1), "variant == 0");
  EXPECT_ASSERTION(CrpsEngineInitRequest::hasIdentifier(10, 1, 0), "variant == 0");
  EXPECT_ASSERTION(CrpsEngineInitRequest::arrayElements(9, 0), "0");
  EXPECT_ASSERTION(CrpsEngineInitRequest::maxIdentifier(10, 2), "variant == 0");
  EXPECT_ASSERTION(CrpsEngineInitRequest::allFieldsMask(10, 2), "variant == 0");
  EXPECT_ASSERTION(CrpsModulesrcCfg::addrStride(22, 0), "0");
  EXPECT_ASSERTION(CrpsModulesrcCfg::regWidth(11, 1), "variant == 0");
  EXPECT_FALSE(CrpsEngineInitRequest::hasIdentifier(10, 0, 2));
  EXPECT_EQ(0u, CrpsEngineInitRequest::maxIdentifier(17, 0));
}

// The block map's regularities across blocks and chips, over every block of
// every chip; its values are pinned through every instance's address in
// tests/golden/.
TEST(BlockMap, RegularitiesAcrossBlocksAndChips) {
  using Fn = void (*)(U32, U8, U32, U32&, U32&);
  using namespace TesselCounters;
  // 88860x: four instances 256 blocks apart, subBlock 0.
  const std::vector<std::pair<const char*, Fn>> fourInstance = {
      {"CGM", &BlockMap::CGM},     {"CRPS", &BlockMap::CRPS}, {"ETPPB", &BlockMap::ETPPB},
      {"ETPPC", &BlockMap::ETPPC}, {"IPPA", &BlockMap::IPPA}, {"IPPB", &BlockMap::IPPB},
      {"IPPC", &BlockMap::IPPC},   {"IPPF", &BlockMap::IPPF}, {"MCP", &BlockMap::MCP},
      {"PQP", &BlockMap::PQP}};
  for (const auto& [name, fn] : fourInstance) {
    for (ChipType c : tc::chips88860x()) {
      U32 s0 = 9, k0 = 9;
      fn(tc::num(c), 0, 0, s0, k0);
      for (U32 id = 0; id < 4; ++id) {
        U32 s = 9, k = 9;
        fn(tc::num(c), 0, id, s, k);
        EXPECT_EQ(std::make_pair(0u, k0 + 256 * id), std::make_pair(s, k)) << name;
      }
    }
  }
  // 88850 steps the block by 12 with subBlock fixed; 88859 has its first instance.
  const std::vector<std::pair<const char*, Fn>> twoInstance = {
      {"CGM", &BlockMap::CGM},     {"CRPS", &BlockMap::CRPS},   {"ERPP", &BlockMap::ERPP},
      {"ETPPA", &BlockMap::ETPPA}, {"ETPPB", &BlockMap::ETPPB}, {"ETPPC", &BlockMap::ETPPC},
      {"IPPA", &BlockMap::IPPA},   {"IPPB", &BlockMap::IPPB},   {"IPPC", &BlockMap::IPPC},
      {"IPPF", &BlockMap::IPPF},   {"MCP", &BlockMap::MCP},     {"PQP", &BlockMap::PQP}};
  for (const auto& [name, fn] : twoInstance) {
    U32 s0, b0, s1, b1, s59, b59;
    fn(12, 0, 0, s0, b0);
    fn(12, 0, 1, s1, b1);
    fn(14, 0, 0, s59, b59);
    EXPECT_EQ(s0, s1) << name;
    EXPECT_EQ(b0 + 12, b1) << name;
    EXPECT_EQ(std::make_pair(s0, b0), std::make_pair(s59, b59)) << name;
  }
  U32 s, k;
  for (ChipType c : tc::allChips()) {
    BlockMap::ECI(tc::num(c), 0, 0, s, k);
    EXPECT_EQ(std::make_pair(0u, 0u), std::make_pair(s, k));
  }
  // 88859 has the first eight of the sixteen CDU v1 instances of 88850; the
  // NBUTRX instances of 88490 are consecutive blocks.
  U32 first = 0;
  BlockMap::NBUTRX(25, 0, 0, s, first);
  for (U32 id = 0; id < 8; ++id) {
    U32 s50, k50;
    BlockMap::CDU(12, 1, id, s50, k50);
    BlockMap::CDU(14, 1, id, s, k);
    EXPECT_EQ(std::make_pair(s50, k50), std::make_pair(s, k));
    BlockMap::NBUTRX(25, 0, id, s, k);
    EXPECT_EQ(first + id, k);
  }
}

}  // namespace
