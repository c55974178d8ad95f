// Chip identity and validity of (chip, variant) pairs.
#include <set>
#include <sstream>

#include "TestSupport.h"

using namespace Hardware;

namespace {

// The chip numbers and names the library knows.
TEST(ChipType, IsOneByteAndNamesThirteenChips) {
  static_assert(sizeof(ChipType) == 1, "ChipType is one byte");
  const std::vector<std::pair<int, const char*>> known = {
      {10, "BCM88690_B0"}, {11, "BCM88800_A0"}, {12, "BCM88850_A0"}, {14, "BCM88859_A2"},
      {15, "BCM88480_A0"}, {16, "BCM88480_B0"}, {17, "BCM88860_A0"}, {20, "BCM88867_C0"},
      {21, "BCM88890_A0"}, {23, "BCM88890_B0"}, {24, "BCM88897_C0"}, {25, "BCM88490_A0"},
      {26, "BCM88870_A0"}};
  ASSERT_EQ(known.size(), tc::allChips().size());
  for (std::size_t i = 0; i < known.size(); ++i) {
    EXPECT_EQ(known[i].first, static_cast<int>(tc::allChips()[i]));
    std::ostringstream os;
    os << tc::allChips()[i];
    EXPECT_EQ(known[i].second, os.str());
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

// Expected (chip, variant) pairs of each class, written from the sheets.
struct ClassPairs {
  const char* name;
  Valid valid;
  std::set<std::pair<int, int>> pairs;
};

std::set<std::pair<int, int>> variantZeroOn(const std::vector<int>& chips) {
  std::set<std::pair<int, int>> out;
  for (int c : chips) out.insert({c, 0});
  return out;
}

const std::vector<int> kAll = {10, 11, 12, 14, 15, 16, 17, 20, 21, 23, 24, 25, 26};

TEST(ChipTypeVariantValid, EveryBytePairOfTheFirstSevenClasses) {
  const std::vector<ClassPairs> classes = {
      {"CrpsEngineInitRequest", &CrpsEngineInitRequest::chipTypeVariantValid, variantZeroOn(kAll)},
      {"CrpsEngineMmuxEn", &CrpsEngineMmuxEn::chipTypeVariantValid, variantZeroOn(kAll)},
      {"CrpsEngineScanEnable", &CrpsEngineScanEnable::chipTypeVariantValid, variantZeroOn(kAll)},
      {"CrpsEnginesDmaSelect", &CrpsEnginesDmaSelect::chipTypeVariantValid, variantZeroOn(kAll)},
      {"CrpsModulesrcCfg", &CrpsModulesrcCfg::chipTypeVariantValid, variantZeroOn(kAll)},
      {"CrpsTypeMapMem", &CrpsTypeMapMem::chipTypeVariantValid, variantZeroOn(kAll)},
      {"CrpsReservedSpare2", &CrpsReservedSpare2::chipTypeVariantValid, variantZeroOn({12, 14})},
  };
  for (const auto& k : classes) {
    int mismatches = 0;
    for (int chip = 0; chip < 256; ++chip) {
      for (int variant = 0; variant < 256; ++variant) {
        const bool expect = k.pairs.count({chip, variant}) != 0;
        const auto c = static_cast<ChipType>(chip);
        const auto v = static_cast<U8>(variant);
        if (k.valid(c, v) != expect) ++mismatches;
        if (Hardware::chipTypeVariantValid(k.name, c, v) != expect) ++mismatches;
      }
    }
    EXPECT_EQ(0, mismatches) << k.name;
  }
}

TEST(ChipTypeVariantValid, ForeignNumbersAreChipsWithoutTheClass) {
  for (int chip : {0, 9, 13, 18, 19, 22, 27, 128, 255})
    for (int variant : {0, 1, 255})
      EXPECT_FALSE(CrpsEngineInitRequest::chipTypeVariantValid(static_cast<ChipType>(chip),
                                                               static_cast<U8>(variant)))
          << chip;
}

}  // namespace
