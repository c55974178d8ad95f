// How decode shows fields that lie over each other, on a layout made up for
// the test (no class of the catalogue has a partial overlap): an aggregate
// with two elements, a field that crosses the aggregate and its second
// element, a field on its own, and set bits outside every field.
#include <gtest/gtest.h>

#include <sstream>

#include "Commands.h"

namespace {

using Tool::Field;
using Tool::Json;

// Bits offset..offset+width-1 of the entry, as little-endian bytes.
std::vector<U8> bitsOf(const std::vector<U8>& entry, unsigned offset, unsigned width) {
  std::vector<U8> out((width + 7) / 8, 0);
  for (unsigned k = 0; k < width; ++k)
    if ((entry[(offset + k) / 8] >> ((offset + k) % 8)) & 1) out[k / 8] |= U8(1u << (k % 8));
  return out;
}

struct Synthetic : ::testing::Test {
  // In the order fieldsOf gives: by offset, wider first.
  const std::vector<Field> fields = {{901, 0, 16, "agg", "AGG"},
                                     {902, 0, 8, "agg0", "AGG_0"},
                                     {903, 8, 8, "agg1", "AGG_1"},
                                     {904, 12, 8, "part", "PART"},
                                     {905, 24, 4, "tail", "TAIL"}};
  const std::vector<U8> entry = {0x78, 0x56, 0x34, 0x12};  // the word 0x12345678
  Tool::Decoder decoder{{"Synthetic", Hardware::ChipType::BCM88690_B0, 0, nullptr}, fields, {}, {}};
  Tool::Decoded decoded;

  void SetUp() override {
    decoder.views = Tool::viewsOf(fields);
    std::vector<U8> mask(entry.size(), 0);
    for (const auto& f : fields) {
      decoded.values.push_back(bitsOf(entry, f.offset, f.width));
      for (unsigned b = f.offset; b < f.offset + f.width; ++b) mask[b / 8] |= U8(1u << (b % 8));
    }
    decoded.stray = Tool::strayBits(entry.data(), mask.data(), 32);
  }
};

TEST_F(Synthetic, ViewsNestAndAPartialOverlapIsNamedBothWays) {
  const auto& v = decoder.views;
  ASSERT_EQ(fields.size(), v.size());
  EXPECT_EQ((std::vector<int>{-1, 0, 0, -1, -1}),
            (std::vector<int>{v[0].parent, v[1].parent, v[2].parent, v[3].parent, v[4].parent}));
  EXPECT_EQ((std::vector<int>{0, 1, 1, 0, 0}),
            (std::vector<int>{v[0].depth, v[1].depth, v[2].depth, v[3].depth, v[4].depth}));
  EXPECT_EQ(std::vector<int>{3}, v[0].crosses);
  EXPECT_TRUE(v[1].crosses.empty());
  EXPECT_EQ(std::vector<int>{3}, v[2].crosses);
  EXPECT_EQ((std::vector<int>{0, 2}), v[3].crosses);
  EXPECT_TRUE(v[4].crosses.empty());
}

TEST_F(Synthetic, DecodedTextIndentsViewsAndNamesOverlaps) {
  const auto rows = Tool::fieldRows(decoder, decoded);
  ASSERT_EQ(1 + fields.size(), rows.size());
  // Each row: bits, width, the name (indented by its depth), hardware name, hex, decimal.
  const std::vector<std::vector<std::string>> want = {
      {"0..15", "16", "agg", "AGG", "0x5678", "22136", "overlaps", "part"},
      {"0..7", "8", "agg0", "AGG_0", "0x78", "120"},
      {"8..15", "8", "agg1", "AGG_1", "0x56", "86", "overlaps", "part"},
      {"12..19", "8", "part", "PART", "0x45", "69", "overlaps", "agg,", "agg1"},
      {"24..27", "4", "tail", "TAIL", "0x2", "2"}};
  for (std::size_t i = 0; i < want.size(); ++i) {
    std::istringstream in(rows[i + 1]);
    std::vector<std::string> words;
    for (std::string w; in >> w;) words.push_back(w);
    EXPECT_EQ(want[i], words) << rows[i + 1];
    const std::size_t nameAt = rows[i + 1].find(" " + fields[i].name + " ");
    const std::size_t column = rows[0].find("field");
    EXPECT_EQ(column + 2 * static_cast<std::size_t>(decoder.views[i].depth), nameAt + 1)
        << rows[i + 1];
  }
  EXPECT_EQ((std::vector<std::string>{"indented fields are views of bits of the field above them",
                                      "set bits outside every field: 20..21, 28"}),
            Tool::afterRows(decoder, decoded));
}

TEST_F(Synthetic, DecodedJsonGivesViewOfAndOverlaps) {
  Json j;
  Tool::addDecodedKeys(j, decoder, decoded);
  const Json& f = j["fields"];
  ASSERT_EQ(fields.size(), f.size());
  EXPECT_FALSE(f[0].contains("viewOf"));
  EXPECT_EQ("agg", f[1]["viewOf"]);
  EXPECT_EQ("agg", f[2]["viewOf"]);
  EXPECT_FALSE(f[3].contains("viewOf"));
  EXPECT_EQ(Json::array({"part"}), f[0]["overlaps"]);
  EXPECT_FALSE(f[1].contains("overlaps"));
  EXPECT_EQ(Json::array({"part"}), f[2]["overlaps"]);
  EXPECT_EQ(Json::array({"agg", "agg1"}), f[3]["overlaps"]);
  EXPECT_EQ("0x45", f[3]["hex"]);
  EXPECT_EQ("69", f[3]["decimal"]);
  EXPECT_EQ("12..19", f[3]["bits"]);
  EXPECT_EQ(Json::parse(R"([{"first": 20, "last": 21}, {"first": 28, "last": 28}])"),
            j["strayBits"]);
}

}  // namespace
