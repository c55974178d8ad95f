// The address index against the accessors' own addresses: whatever
// getSchanAddress answers for a class, variant, instance, array element and
// table entry, locate at that address names it; the index covers exactly the
// addresses the accessors give, and nothing lies in its gaps.
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <tuple>

#include "AddressIndex.h"

namespace {

using Tool::AddressIndex;
using Tool::Location;

std::vector<U32> firstMiddleLast(U32 count) {
  std::set<U32> out{0, count / 2, count - 1};
  return {out.begin(), out.end()};
}

bool lists(const std::vector<Location>& found, const Location& want, U8 variant) {
  return std::any_of(found.begin(), found.end(), [&](const Location& l) {
    return std::string(l.cls) == want.cls && l.instance == want.instance && l.subBlock == want.subBlock &&
           l.arrayElement == want.arrayElement && l.tableEntry == want.tableEntry &&
           std::count(l.variants.begin(), l.variants.end(), variant) == 1;
  });
}

// Every class, chip, variant and instance; elements and entries at the first,
// middle and last index.
TEST(AddressIndex, LocatesEveryAddressTheAccessorsGive) {
  const auto& d = Hardware::catalogueDescription();
  std::size_t checked = 0;
  for (U32 c = 0; c < d.classCount; ++c) {
    const auto& cls = d.classes[c];
    for (U32 p = 0; p < cls.pairCount; ++p) {
      const auto [chip, variant] = cls.pairs[p];
      const auto& index = AddressIndex::of(chip);
      const auto o = Hardware::stringObj(cls.name, chip, variant);
      const U32 entries = o->isTable() ? o->entries() : 1;
      for (U16 id = 0; id < o->instanceCount(); ++id)
        for (U32 e : firstMiddleLast(o->arrayElements()))
          for (U32 t : firstMiddleLast(entries)) {
            U32 address = 0, subBlock = 0, block = 0;
            ASSERT_TRUE(o->getSchanAddress(address, subBlock, block, id, t, static_cast<U16>(e)));
            const Location want{cls.name, {variant}, id, subBlock, e, t};
            ASSERT_TRUE(lists(index.locate(block, address), want, variant))
                << cls.name << " chip " << unsigned(chip) << " variant " << unsigned(variant)
                << " instance " << id << " element " << e << " entry " << t;
            ASSERT_TRUE(lists(index.locate(block, address, &subBlock), want, variant));
            const U32 otherSubBlock = subBlock + 1;
            for (const auto& l : index.locate(block, address, &otherSubBlock))
              ASSERT_EQ(l.subBlock, otherSubBlock);
            ++checked;
          }
    }
  }
  EXPECT_GT(checked, 10000u);
}

// Two chips whole: the index covers as many (block, sub-block, address) as
// the accessors give for all their entries, and every one of those, so the
// two sets are equal; the block maps are ordered and disjoint.
TEST(AddressIndex, CoversExactlyTheAccessorsAddresses) {
  for (auto chip : {Hardware::ChipType::BCM88690_B0, Hardware::ChipType::BCM88860_A0}) {
    const auto& d = Hardware::catalogueDescription();
    std::vector<std::tuple<U32, U32, U32>> given;
    for (U32 c = 0; c < d.classCount; ++c) {
      const auto& cls = d.classes[c];
      for (U32 p = 0; p < cls.pairCount; ++p) {
        if (cls.pairs[p].chip != chip) continue;
        const auto o = Hardware::stringObj(cls.name, chip, cls.pairs[p].variant);
        const U32 entries = o->isTable() ? o->entries() : 1;
        for (U16 id = 0; id < o->instanceCount(); ++id)
          for (U32 e = 0; e < o->arrayElements(); ++e)
            for (U32 t = 0; t < entries; ++t) {
              U32 address = 0, subBlock = 0, block = 0;
              o->getSchanAddress(address, subBlock, block, id, t, static_cast<U16>(e));
              given.emplace_back(block, subBlock, address);
            }
      }
    }
    std::sort(given.begin(), given.end());
    given.erase(std::unique(given.begin(), given.end()), given.end());
    const AddressIndex index(chip);
    EXPECT_EQ(index.entryCount(), given.size());
    std::size_t covered = 0;
    for (U32 block : index.blocks()) {
      const auto map = index.blockMap(block);
      ASSERT_FALSE(map.empty());
      for (std::size_t i = 0; i < map.size(); ++i) {
        ASSERT_LE(map[i].first, map[i].last);
        if (i) {
          ASSERT_LT(map[i - 1].last, map[i].first);
          // Nothing lies between two segments.
          if (map[i - 1].last + 1 < map[i].first) {
            const U32 gap = map[i - 1].last + 1;
            EXPECT_TRUE(index.locate(block, gap).empty());
            const auto [below, above] = index.neighbours(map, gap);
            EXPECT_EQ(below, &map[i - 1]);
            EXPECT_EQ(above, &map[i]);
          }
        }
        for (const auto* p : map[i].placements)
          for (U32 a : {map[i].first, map[i].last})
            covered += std::binary_search(given.begin(), given.end(),
                                          std::make_tuple(block, p->subBlock, a));
        ASSERT_FALSE(map[i].placements.empty());
      }
    }
    EXPECT_GT(covered, 0u);
    // Every address given is located, and in no other block.
    for (const auto& [block, subBlock, address] : given)
      ASSERT_FALSE(index.locate(block, address, &subBlock).empty());
  }
}

TEST(AddressIndex, SharedAddressesListTheirVariantsTogether) {
  // Memories whose variants share their entries: each lookup lists the class
  // once, with every variant that lies there.
  const auto& index = AddressIndex::of(Hardware::ChipType::BCM88860_A0);
  std::size_t shared = 0;
  for (const auto& p : index.placements()) {
    const auto found = index.locate(p.block, p.base, &p.subBlock);
    std::set<std::string> classes;
    for (const auto& l : found) {
      EXPECT_TRUE(std::is_sorted(l.variants.begin(), l.variants.end()));
      EXPECT_TRUE(classes.insert(std::string(l.cls) + "/" + std::to_string(l.instance)).second) << l.cls;
      shared += l.variants.size() > 1;
    }
  }
  EXPECT_GT(shared, 0u);
}

}  // namespace
