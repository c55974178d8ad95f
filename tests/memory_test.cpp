// Memory accessors: entries, spans, variants per chip and table addressing.
#include "TestSupport.h"

using namespace Hardware;

namespace {

// One table per engine, each of 4 one-word entries: entry t of engine e lies
// at the first entry's address + 4e + t in every instance of the CRPS block.
// The engines are the module source configuration's elements, the instances
// and blocks the init request register's.
TEST(TypeMap, GeometryAndAddressesOfEveryEngineTable) {
  int chips = 0;
  for (ChipType c : tc::allChips()) {
    const U32 chip = tc::num(c);
    if (!CrpsTypeMapMem::chipTypeVariantValid(c, 0)) continue;
    ++chips;
    SCOPED_TRACE(chip);
    CrpsTypeMapMem::WithStorage m(c, 0);
    EXPECT_EQ(4u, m.entries());
    EXPECT_EQ(1u, CrpsTypeMapMem::tableWidth(chip, 0));
    EXPECT_EQ(CrpsModulesrcCfg::arrayElements(chip, 0), m.arrayElements());
    EXPECT_EQ(CrpsEngineInitRequest::instanceCount(chip, 0), m.instanceCount());
    EXPECT_EQ(0u, m.index_min() + m.arrayIndex_min());
    EXPECT_EQ(1u, CrpsTypeMapMem::tableVariantCount(chip));
    const Orrery::EntrySpans spans = m.entrySpans();
    ASSERT_EQ(1u, spans.count);
    EXPECT_EQ(&CrpsTypeMapMem::_entrySpans_BCM88870_A0[0], spans.spans);
    EXPECT_EQ(4u, spans.spans[0].size);
    U32 base = 0, s = 0, b = 0;
    ASSERT_TRUE(m.getSchanAddress(base, s, b, 0, 0, 0));
    const U16 last = static_cast<U16>(m.arrayElements() - 1);
    for (U16 id = 0; id < m.instanceCount(); ++id) {
      for (U16 e : {U16{0}, U16{1}, last}) {
        for (U32 t : {0u, 3u}) {
          U32 address = 0, subBlock = 0, block = 0;
          ASSERT_TRUE(m.getSchanAddress(address, subBlock, block, id, t, e));
          EXPECT_EQ(base + 4 * e + t, address);
          U32 s2 = 0, b2 = 0, a2 = 0;
          CrpsEngineInitRequest::getSchanAddress(chip, 0, a2, s2, b2, id, 0, 0);
          EXPECT_EQ(std::make_pair(s2, b2), std::make_pair(subBlock, block));
        }
      }
    }
  }
  EXPECT_GT(chips, 0);
}

TEST(TypeMap, ExamplesOfTheSheet) {
  U32 a = 0, s = 0, b = 0;
  ASSERT_TRUE(CrpsTypeMapMem::getSchanAddress(11, 0, a, s, b, 0, 3, 33));
  EXPECT_EQ(82055u, a);
  for (U16 id = 0; id < 4; ++id) {
    ASSERT_TRUE(CrpsTypeMapMem::getSchanAddress(17, 0, a, s, b, id, 3, 31));
    EXPECT_EQ(127u, a);
  }
  EXPECT_TRUE(CrpsTypeMapMem::hasIdentifier(17, 0, 3));
  EXPECT_FALSE(CrpsTypeMapMem::hasIdentifier(17, 0, 4));
  // The table entry is checked before the array index and the identifier.
  EXPECT_ASSERTION(CrpsTypeMapMem::getSchanAddress(11, 0, a, s, b, 7, 4, 34), "tableEntry < 4");
}

// The field needs 3 bytes, getAllFields the whole entry of 4.
TEST(TypeMap, FieldAndWholeEntryNeedDifferentLengths) {
  std::vector<U8> ones(4, 0xff);
  CrpsTypeMapMem three(ChipType::BCM88860_A0, ones.data(), 3, false, 0);
  EXPECT_EQ(0xfffffu, three.typeMapBits());
  EXPECT_ASSERTION(three.getAllFields(), "len_ >= 4");
  CrpsTypeMapMem all(ChipType::BCM88860_A0, ones.data(), 4, false, 0);
  EXPECT_EQ(0xfffffu, all.getAllFields());
}

TEST(TypeMap, FailuresOfMemoryQueries) {
  EXPECT_EQ(0u, CrpsTypeMapMem::tableVariantCount(13));
  EXPECT_EQ(0u, CrpsTypeMapMem::tableVariantCount(266));
  EXPECT_EQ(1u, CrpsTypeMapMem::tableVariantCount(10));
  EXPECT_ASSERTION(CrpsTypeMapMem::entries(10, 1), "variant == 0");
  EXPECT_ASSERTION(CrpsTypeMapMem::entries(13, 0), "0");
  EXPECT_ASSERTION(CrpsTypeMapMem::tableWidth(10, 1), "variant == 0");
  EXPECT_ASSERTION(CrpsTypeMapMem::index_min(19, 0), "0");
  EXPECT_ASSERTION(CrpsTypeMapMem::arrayIndex_min(10, 3), "variant == 0");
  EXPECT_ASSERTION(CrpsTypeMapMem::entrySpans(10, 1), "variant == 0");
}

}  // namespace
