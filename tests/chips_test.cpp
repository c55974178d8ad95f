// Chip identity and validity of (chip, variant) pairs.
#include <sstream>

#include "TestSupport.h"

using namespace Hardware;

namespace {

// A named chip streams as its name, any other number as a number; which
// chips are named is checked with the description.
TEST(ChipType, IsOneByteAndStreamsItsName) {
  static_assert(sizeof(ChipType) == 1, "ChipType is one byte");
  for (int n = 0; n < 256; ++n) {
    const char* name = chipTypeName(static_cast<ChipType>(n));
    std::ostringstream os;
    os << static_cast<ChipType>(n);
    EXPECT_EQ(name ? name : "ChipType(" + std::to_string(n) + ")", os.str());
  }
}

TEST(ChipAndVariant, StreamsChipTextAndDecimalVariantWithoutLineEnd) {
  std::ostringstream os;
  os << Orrery::ChipAndVariant{ChipType::BCM88690_B0, 3};
  EXPECT_EQ(" chipType: BCM88690_B0 variant: 3", os.str());
  std::ostringstream big;
  big << Orrery::ChipAndVariant{ChipType::BCM88870_A0, 255};
  EXPECT_EQ(" chipType: BCM88870_A0 variant: 255", big.str());
}

using Valid = bool (*)(ChipType, U8);

// A class's own chipTypeVariantValid and the factory's by its name agree on
// every byte pair, and no class exists on a number that names no chip.
TEST(ChipTypeVariantValid, TheClassAndTheFactoryAgreeOnEveryBytePair) {
  const std::pair<const char*, Valid> classes[] = {
      {"CrpsEngineInitRequest", &CrpsEngineInitRequest::chipTypeVariantValid},
      {"CrpsExpansionMapMem", &CrpsExpansionMapMem::chipTypeVariantValid},
      {"CduInstrumentationResetLow", &CduInstrumentationResetLow::chipTypeVariantValid},
      {"CrpsReservedSpare2", &CrpsReservedSpare2::chipTypeVariantValid},
      {"EtppbCfgTrapObjShift", &EtppbCfgTrapObjShift::chipTypeVariantValid},
  };
  for (const auto& [name, valid] : classes) {
    int mismatches = 0, pairs = 0;
    for (int chip = 0; chip < 256; ++chip) {
      for (int variant = 0; variant < 256; ++variant) {
        const auto c = static_cast<ChipType>(chip);
        const auto v = static_cast<U8>(variant);
        const bool own = valid(c, v);
        pairs += own;
        if (own != Hardware::chipTypeVariantValid(name, c, v)) ++mismatches;
        if (own && chipTypeName(c) == nullptr) ++mismatches;
      }
    }
    EXPECT_EQ(0, mismatches) << name;
    EXPECT_GT(pairs, 0) << name;
  }
}

}  // namespace
