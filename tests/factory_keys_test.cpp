// The factory's keys against every chip and variant: what each key names and
// on which pairs is pinned in tests/golden/ (their order is checked with the
// description); here are the rules every key follows whatever the catalogue
// holds.
#include <algorithm>
#include <memory>

#include "TestSupport.h"

using namespace Hardware;

namespace {

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
