// A chip's exported C header against the library: C code built with the header
// (rows.c, from c_header_rows.py) hands over every constant and reads fields of
// random entries with the header's offsets and masks.
#include <TesselCountersOrrery.h>
#include <gtest/gtest.h>

#include <random>
#include <set>

using Row = std::vector<unsigned long long>;
extern "C" {
extern const char* const tcClassNames[];
extern const unsigned long long tcClassRows[][7];  // variant, then WIDTH_WORDS to ADDRESS
extern const unsigned* const tcBlocks[];           // SUB_BLOCK and BLOCK of each instance
extern const unsigned long long tcFieldRows[][5];  // class row, id, OFFSET, WIDTH, MASK
extern const unsigned tcClassCount, tcFieldCount;
unsigned long long tcRead(const unsigned char* entry, unsigned offset, unsigned long long mask);
}

TEST(CHeader, EveryClassAndFieldOfTheChipAsTheLibraryAnswers) {
  constexpr auto kChip = Hardware::ChipType::TC_CHIP;
  std::set<std::pair<std::string, unsigned long long>> pairs;
  std::vector<std::shared_ptr<Orrery::AsicBase>> objects;
  for (unsigned r = 0; r < tcClassCount; ++r) {
    const auto* c = tcClassRows[r];
    const auto variant = static_cast<U8>(c[0]);
    ASSERT_TRUE(Hardware::chipTypeVariantValid(tcClassNames[r], kChip, variant));
    const auto& o = objects.emplace_back(Hardware::stringObj(tcClassNames[r], kChip, variant));
    pairs.insert({tcClassNames[r], c[0]});
    EXPECT_EQ(
        (Row{o->width(), o->arrayElements(), o->isTable() ? o->entries() : 1u, o->instanceCount()}),
        (Row{c[1], c[2], c[4], c[5]}))
        << tcClassNames[r];
    for (U16 i = 0; i < o->instanceCount(); ++i)
      for (const auto& [entry, element] : {std::pair{0ull, 0ull}, std::pair{c[4] - 1, c[2] - 1}}) {
        U32 address = 0, subBlock = 0, block = 0;
        o->getSchanAddress(address, subBlock, block, i, static_cast<U32>(entry),
                           static_cast<U16>(element));
        EXPECT_EQ((Row{address, subBlock, block}),
                  (Row{c[6] + element * c[3] + entry, tcBlocks[r][2 * i], tcBlocks[r][2 * i + 1]}))
            << tcClassNames[r] << " instance " << i << " entry " << entry << " element " << element;
      }
  }
  for (U32 k = 0; const char* name = Hardware::accessorClassName(k); ++k)
    for (unsigned v = 0; v < 256; ++v)
      EXPECT_EQ(Hardware::chipTypeVariantValid(name, kChip, static_cast<U8>(v)),
                pairs.count({name, v}) == 1)
          << name << " variant " << v;

  std::mt19937 random(17);
  std::vector<unsigned> fieldsOfRow(tcClassCount);
  for (unsigned k = 0; k < tcFieldCount; ++k) {
    const auto* f = tcFieldRows[k];
    auto& o = *objects[f[0]];
    const U32 id = static_cast<U32>(f[1]);
    ++fieldsOfRow[f[0]];
    ASSERT_TRUE(o.isFieldValid(id)) << tcClassNames[f[0]] << " " << Hardware::fieldIdName(id);
    EXPECT_EQ((Row{o.fieldOffset(id), o.fieldWidth(id)}), (Row{f[2], f[3]})) << id;
    if (f[3] > 64) continue;
    for (U16 b = 0; b < o.len(); ++b) o.buf()[b] = static_cast<U8>(random());
    EXPECT_EQ((Row{f[3] == 64 ? ~0ull : (1ull << f[3]) - 1,
                   o.stringField(Hardware::fieldIdAccessorName(id), 0)}),
              (Row{f[4], tcRead(o.buf(), static_cast<unsigned>(f[2]), f[4])}))
        << tcClassNames[f[0]] << " " << Hardware::fieldIdName(id);
  }
  for (unsigned r = 0; r < tcClassCount; ++r)
    EXPECT_EQ(objects[r]->fieldCount(), fieldsOfRow[r]) << tcClassNames[r];
}
