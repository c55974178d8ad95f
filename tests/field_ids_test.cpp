// The field identifier catalogue: constants and names.
#include <set>

#include "TestSupport.h"

using namespace Hardware;

namespace {

TEST(FieldIds, ConstantsOfTheCatalogue) {
  EXPECT_EQ(19u, FieldIds::CFG_TRAP_OBJ_7_SHIFT);
  EXPECT_EQ(120u, FieldIds::ENGINE_INIT_REQUEST);
  EXPECT_EQ(119u, FieldIds::ENGINES_DMA_SELECT);
  EXPECT_EQ(945u, FieldIds::QUEUE_EMPTY_511);
  EXPECT_EQ(1199u, FieldIds::VTT_DEFAULT_TERM_VSI_OBJ_PROFILE);
  EXPECT_EQ(1051u, FieldIds::STAT_METADATA_0_MC);
  EXPECT_EQ(1053u, FieldIds::STAT_METADATA_10_MC);
  EXPECT_EQ(1073u, FieldIds::STAT_METADATA_1_MC);
  EXPECT_EQ(1178u, FieldIds::STAT_METADATA_9_UC);
  EXPECT_EQ(359u, FieldIds::MAP_STS_1_TO_TYPE);
  EXPECT_EQ(339u, FieldIds::MAP_STS_10_TO_TYPE);
  EXPECT_EQ(399u, FieldIds::MAP_STS_9_TO_TYPE);
  EXPECT_EQ(400u, FieldIds::MAP_STS_TO_INTERFACE);
  EXPECT_EQ(223u, FieldIds::ENG_DB_C_BANK_5_SOURCE);
  EXPECT_EQ(65u, FieldIds::CGM_IRPP_9_EXPANSION_SELECT_A);
  EXPECT_EQ(115u, FieldIds::EGQ_ERPP_CTR_1_EXPANSION_SELECT_D);
}

TEST(FieldIds, ElevenHundredFortyFourIdentifiersWithTheListedGaps) {
  std::set<U32> gaps = {0,   1,   2,   3,   4,   118,  276,  291,  302,
                        318, 326, 334, 413, 419, 1179, 1186, 1189, 1197};
  for (U32 r : {74u, 75u, 104u, 105u, 946u, 947u}) gaps.insert(r);
  for (U32 r = 263; r <= 274; ++r) gaps.insert(r);
  for (U32 r = 421; r <= 423; ++r) gaps.insert(r);
  for (U32 r = 425; r <= 433; ++r) gaps.insert(r);
  for (U32 r = 949; r <= 953; ++r) gaps.insert(r);
  for (U32 r = 1192; r <= 1194; ++r) gaps.insert(r);
  EXPECT_EQ(56u, gaps.size());
  U32 named = 0;
  std::set<std::string> names;
  for (U32 id = 0; id < 1300; ++id) {
    const char* hw = fieldIdName(id);
    EXPECT_EQ(hw != nullptr, id <= 1199 && !gaps.count(id)) << id;
    EXPECT_EQ(hw != nullptr, fieldIdAccessorName(id) != nullptr);
    if (hw) {
      ++named;
      EXPECT_TRUE(names.insert(hw).second) << hw;
    }
  }
  EXPECT_EQ(1144u, named);
  EXPECT_EQ(1144u, FieldIds::kCount);
  EXPECT_EQ(5u, FieldIds::kFirst);
  EXPECT_EQ(1199u, FieldIds::kLast);
  EXPECT_STREQ("ENGINE_N_MODE", fieldIdName(FieldIds::ENGINE_N_MODE));
  EXPECT_STREQ("engineNMode", fieldIdAccessorName(137));
  EXPECT_STREQ("cfgTrapObj0Shift", fieldIdAccessorName(12));
  EXPECT_STREQ("todwIeee1588Timecode", fieldIdAccessorName(1190));
}

}  // namespace
