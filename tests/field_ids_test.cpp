// The field identifier catalogue: constants, names and their bounds. Which
// numbers name fields is pinned with every other answer in tests/golden/.
#include <cctype>
#include <set>

#include "TestSupport.h"

using namespace Hardware;

namespace {

// ENGINE_N_MODE -> engineNMode: the first word in lower case, each further
// word capitalised, digits kept.
std::string accessorNameOf(const std::string& hardware) {
  std::string out;
  bool startWord = false;
  for (char c : hardware) {
    if (c == '_') {
      startWord = true;
      continue;
    }
    const auto u = static_cast<unsigned char>(c);
    out += static_cast<char>(startWord && !out.empty() ? std::toupper(u) : std::tolower(u));
    startWord = false;
  }
  return out;
}

TEST(FieldIds, ConstantsNameTheirOwnFields) {
  const std::pair<U32, const char*> constants[] = {
      {FieldIds::CFG_TRAP_OBJ_7_SHIFT, "CFG_TRAP_OBJ_7_SHIFT"},
      {FieldIds::ENGINE_N_MODE, "ENGINE_N_MODE"},
      {FieldIds::QUEUE_EMPTY_511, "QUEUE_EMPTY_511"},
      {FieldIds::STAT_METADATA_10_MC, "STAT_METADATA_10_MC"},
      {FieldIds::MAP_STS_TO_INTERFACE, "MAP_STS_TO_INTERFACE"},
      {FieldIds::TODW_IEEE_1588_TIMECODE, "TODW_IEEE_1588_TIMECODE"}};
  for (const auto& [id, name] : constants) EXPECT_STREQ(name, fieldIdName(id)) << id;
}

// Both names exist for the same identifiers, are unique, and the accessor
// name follows from the hardware name; kFirst, kLast and kCount bound them.
TEST(FieldIds, NamesAndBoundsAgree) {
  U32 named = 0, first = 0, last = 0;
  std::set<std::string> hardware, accessor;
  for (U32 id = 0; id < 4096; ++id) {
    const char* hw = fieldIdName(id);
    const char* name = fieldIdAccessorName(id);
    ASSERT_EQ(hw != nullptr, name != nullptr) << id;
    if (!hw) continue;
    if (named++ == 0) first = id;
    last = id;
    EXPECT_TRUE(hardware.insert(hw).second) << hw;
    EXPECT_TRUE(accessor.insert(name).second) << name;
    EXPECT_EQ(accessorNameOf(hw), name) << id;
  }
  EXPECT_GT(named, 0u);
  EXPECT_EQ(FieldIds::kCount, named);
  EXPECT_EQ(FieldIds::kFirst, first);
  EXPECT_EQ(FieldIds::kLast, last);
  EXPECT_EQ(nullptr, fieldIdName(0xffffffffu));
}

}  // namespace
