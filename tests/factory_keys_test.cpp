// The factory's keys against every chip and variant: what each key names and
// on which pairs is pinned in tests/golden/; here are the rules every key
// follows whatever the catalogue holds.
#include <algorithm>

#include "TestSupport.h"

using namespace Hardware;

namespace {

TEST(FactoryKeys, InAsciiOrderAndNoMore) {
  ASSERT_GT(accessorClassCount(), 0u);
  for (U32 i = 1; i < accessorClassCount(); ++i)
    EXPECT_LT(std::string(accessorClassName(i - 1)), accessorClassName(i)) << i;
  EXPECT_EQ(nullptr, accessorClassName(accessorClassCount()));
}

// Every pair a key is valid on is a named chip; its object answers that chip
// and variant, is a memory on all the class's pairs or on none, and owns the
// room of the class's largest entry.
TEST(FactoryKeys, EveryKeyAgainstEveryChipAndVariant) {
  for (U32 i = 0; i < accessorClassCount(); ++i) {
    const char* name = accessorClassName(i);
    SCOPED_TRACE(name);
    struct Made {
      int chip, variant;
      std::shared_ptr<Orrery::AsicBase> object;
    };
    std::vector<Made> made;
    for (int chip = 0; chip < 256; ++chip)
      for (int variant = 0; variant < 256; ++variant)
        if (Hardware::chipTypeVariantValid(name, static_cast<ChipType>(chip),
                                           static_cast<U8>(variant)))
          made.push_back({chip, variant,
                          stringObj(name, static_cast<ChipType>(chip), static_cast<U8>(variant))});
    ASSERT_FALSE(made.empty());
    U16 widest = 0;
    for (const auto& m : made) widest = std::max(widest, m.object->width());
    for (const auto& [chip, variant, o] : made) {
      EXPECT_NE(nullptr, chipTypeName(static_cast<ChipType>(chip))) << chip;
      EXPECT_EQ(chip, static_cast<int>(o->chipType()));
      EXPECT_EQ(variant, o->variant()) << chip;
      EXPECT_EQ(made.front().object->isTable(), o->isTable()) << chip;
      EXPECT_EQ(4u * widest, o->len()) << chip;
    }
  }
}

}  // namespace
