// Where the queue, flow-control and instrumentation registers lie: chips and
// variants, instance lists and S-channel addresses, reached through the
// factory as a caller holding only a class name would.
#include <algorithm>

#include "TestSupport.h"

namespace {

using Hardware::ChipType;

// One group of chips and variant with the same address and instance list;
// first and last instance give (subBlock, block). For 88860x-style blocks the
// last block is given per chip below.
struct Group {
  std::string cls;
  std::vector<ChipType> chips;
  U8 variant;
  U32 address;
  U16 count;
  U32 sub0, block0, subLast, blockLast;
};

const std::vector<ChipType> k88860y = {ChipType::BCM88860_A0, ChipType::BCM88867_C0,
                                       ChipType::BCM88890_A0, ChipType::BCM88890_B0,
                                       ChipType::BCM88897_C0};

std::vector<Group> groups() {
  const ChipType c690 = ChipType::BCM88690_B0, c800 = ChipType::BCM88800_A0,
                 c850 = ChipType::BCM88850_A0, c859 = ChipType::BCM88859_A2,
                 c490 = ChipType::BCM88490_A0, c870 = ChipType::BCM88870_A0;
  std::vector<Group> g = {
      {"PqpCrpsInterfaceConfig", {c490}, 0, 263, 1, 0, 16, 0, 16},
      {"PqpCrpsInterfaceConfig", tc::chips88860x(), 0, 263, 4, 0, 100, 0, 868},
      {"CfcEgqPfcStatus", {c850}, 0, 281, 2, 2, 48, 4, 48},
      {"CfcEgqPfcStatus", {c859}, 0, 281, 1, 2, 48, 2, 48},
      {"CfcEgqPfcStatusSel", {c850}, 0, 280, 2, 2, 48, 4, 48},
      {"CfcEgqPfcStatusSel", {c859}, 0, 280, 1, 2, 48, 2, 48},
  };
  for (auto [cls, address] : {std::pair<std::string, U32>{"PqpDeqCountersConfig", 357},
                              {"PqpPqpUnicastPacketCounter", 358},
                              {"PqpEgressQueuesEmpty", 332}}) {
    g.push_back({cls, {c850}, 0, address, 2, 10, 13, 10, 25});
    g.push_back({cls, {c859}, 0, address, 1, 10, 13, 10, 13});
  }
  // The RstnPfc register of each block lies 2 above ResetLow.
  for (U32 pfc : {0u, 2u}) {
    const std::string suffix = pfc ? "InstrumentationRstnPfc" : "InstrumentationResetLow";
    const auto name = [&](const char* block) { return block + suffix; };
    const std::string cdu = name("Cdu");
    g.push_back({cdu, {c690}, 0, 1373 + pfc, 2, 6, 3, 16, 7});
    g.push_back({cdu, {c690}, 1, 1373 + pfc, 10, 10, 3, 26, 7});
    g.push_back({cdu, {c800}, 1, 1378 + pfc, 4, 22, 3, 12, 8});
    g.push_back({cdu, {c850}, 0, 1339 + pfc, 2, 4, 16, 4, 28});
    g.push_back({cdu, {c850}, 1, 1339 + pfc, 16, 20, 15, 2, 28});
    g.push_back({cdu, {c859}, 0, 1339 + pfc, 1, 4, 16, 4, 16});
    g.push_back({cdu, {c859}, 1, 1339 + pfc, 8, 20, 15, 2, 16});
    g.push_back({name("Clu"), {c800}, 0, 1879 + pfc, 6, 8, 8, 10, 3});
    const std::string nbu = name("Nbu");
    g.push_back({nbu, {c490}, 0, 978 + pfc, 2, 0, 484, 0, 485});
    g.push_back({nbu, k88860y, 0, 1365 + pfc, 18, 0, 390, 0, 658});
    g.push_back({nbu, {c870}, 0, 1365 + pfc, 16, 0, 390, 0, 658});
    g.push_back({name("Nbutrx"), {c490}, 0, 1040 + pfc, 8, 0, 380, 0, 387});
  }
  return g;
}

TEST(StatusAddressing, FirstAndLastInstanceOfEveryGroup) {
  for (const auto& g : groups()) {
    for (ChipType chip : g.chips) {
      SCOPED_TRACE(g.cls + " chip " + std::to_string(tc::num(chip)) + " v" +
                   std::to_string(g.variant));
      auto obj = Hardware::stringObj(g.cls.c_str(), chip, g.variant);
      EXPECT_EQ(obj->instanceCount(), g.count);
      U32 address = 0, sub = 0, block = 0;
      ASSERT_TRUE(obj->getSchanAddress(address, sub, block, 0, 0, 0));
      EXPECT_EQ(address, g.address);
      EXPECT_EQ(sub, g.sub0);
      EXPECT_EQ(block, g.block0);
      ASSERT_TRUE(obj->getSchanAddress(address, sub, block, g.count - 1, 0, 0));
      EXPECT_EQ(address, g.address);
      EXPECT_EQ(sub, g.subLast);
      EXPECT_EQ(block, g.blockLast);
    }
  }
}

TEST(StatusAddressing, InstanceListsInBetween) {
  using Hardware::NbuInstrumentationResetLow;
  U32 address, sub, block;
  const auto blockOf = [&](ChipType chip, U8 variant, U16 id) {
    EXPECT_TRUE(NbuInstrumentationResetLow::getSchanAddress(tc::num(chip), variant, address, sub,
                                                            block, id, 0, 0));
    return block;
  };
  // 88870 runs four of the low blocks, four of the high, and so on; 394 and 654 are missing.
  const U32 nbu870[] = {390, 391, 392, 393, 650, 651, 652, 653,
                        395, 396, 397, 398, 655, 656, 657, 658};
  for (U16 id = 0; id < 16; ++id)
    EXPECT_EQ(blockOf(ChipType::BCM88870_A0, 0, id), nbu870[id]) << id;
  for (ChipType chip : k88860y)
    for (U16 id = 0; id < 18; ++id)
      EXPECT_EQ(blockOf(chip, 0, id), id < 9 ? 390u + id : 641u + id) << id;

  ASSERT_TRUE(Hardware::CduInstrumentationResetLow::getSchanAddress(
      tc::num(ChipType::BCM88850_A0), 1, address, sub, block, 8, 0, 0));
  EXPECT_EQ(sub, 20u);
  EXPECT_EQ(block, 27u);
  ASSERT_TRUE(Hardware::CluInstrumentationRstnPfc::getSchanAddress(
      tc::num(ChipType::BCM88800_A0), 0, address, sub, block, 2, 0, 0));
  EXPECT_EQ(sub, 24u);
  EXPECT_EQ(block, 7u);
  // A bad table entry is seen before a bad identifier.
  EXPECT_ASSERTION(Hardware::CluInstrumentationRstnPfc::getSchanAddress(
                       tc::num(ChipType::BCM88800_A0), 0, address, sub, block, 6, 1, 0),
                   "tableEntry == 0");
}

TEST(StatusAddressing, CduVariantsAreInstanceGroups) {
  using Hardware::CduInstrumentationResetLow;
  const U32 c800 = tc::num(ChipType::BCM88800_A0), c690 = tc::num(ChipType::BCM88690_B0);
  for (U32 chip : {c690, tc::num(ChipType::BCM88850_A0), tc::num(ChipType::BCM88859_A2)}) {
    EXPECT_EQ(CduInstrumentationResetLow::width(chip, 0),
              CduInstrumentationResetLow::width(chip, 1));
    EXPECT_EQ(CduInstrumentationResetLow::fieldCount(chip, 0),
              CduInstrumentationResetLow::fieldCount(chip, 1));
    EXPECT_EQ(CduInstrumentationResetLow::allFieldsMask(chip, 0),
              CduInstrumentationResetLow::allFieldsMask(chip, 1));
  }
  // 88800 knows variant 1 alone; elsewhere there are two.
  EXPECT_ASSERTION(CduInstrumentationResetLow::instanceCount(c800, 0), "variant == 1");
  EXPECT_ASSERTION(Hardware::CduInstrumentationRstnPfc::width(c800, 2), "variant == 1");
  EXPECT_ASSERTION(CduInstrumentationResetLow::hasIdentifier(c800, 0, 0), "variant == 1");
  EXPECT_ASSERTION(CduInstrumentationResetLow::fieldCount(c690, 2), "0");
  EXPECT_ASSERTION(Hardware::CduInstrumentationRstnPfc::instanceCount(c690, 2), "0");
  EXPECT_ASSERTION(CduInstrumentationResetLow::width(tc::num(ChipType::BCM88860_A0), 0), "0");

  U32 address = 7, sub = 8, block = 9;
  for (auto [chip, variant] :
       {std::pair<U32, U8>{c800, 0}, {c690, 2}, {tc::num(ChipType::BCM88490_A0), 0}, {13, 1}}) {
    EXPECT_FALSE(
        CduInstrumentationResetLow::getSchanAddress(chip, variant, address, sub, block, 0, 0, 0));
    EXPECT_EQ(address + sub + block, 7u + 8u + 9u);
  }
  EXPECT_MESSAGE_ASSERTION(
      Hardware::stringObj("CduInstrumentationResetLow", ChipType::BCM88800_A0, 0),
      " not in metainfo for CduInstrumentationResetLow!", "0");
  EXPECT_MESSAGE_ASSERTION(
      Hardware::stringObj("CduInstrumentationRstnPfc", ChipType::BCM88690_B0, 2),
      " not in metainfo for CduInstrumentationRstnPfc!", "0");
  U8 buf[4] = {};
  EXPECT_MESSAGE_ASSERTION(
      Hardware::NbutrxInstrumentationResetLow(ChipType::BCM88860_A0, buf, 4, false, 0),
      " not in metainfo for NbutrxInstrumentationResetLow!", "0");
}

}  // namespace
