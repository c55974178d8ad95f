// The egress queue empty map: 512 one-bit flags, the whole map as one
// 512-bit view over them, and the indexed accessor by queue number.
#include <algorithm>

#include "AllocationCounter.h"
#include "TestSupport.h"

namespace {

using Hardware::ChipType;
using Hardware::PqpEgressQueuesEmpty;
namespace Ids = Hardware::FieldIds;

TEST(QueueEmptyMap, EveryFlagByNumberIdentifierAndName) {
  const auto before = tc::randomBytes(64, 7);
  auto buf = before;
  PqpEgressQueuesEmpty map(ChipType::BCM88850_A0, buf.data(), 64, false, 0);
  for (U32 n = 0; n < 512; ++n) {
    SCOPED_TRACE(n);
    const U32 id = Ids::QUEUE_EMPTY_0 + n;
    const std::string name = "queueEmpty" + std::to_string(n);
    EXPECT_EQ(map.fieldOffset(id), n);
    EXPECT_EQ(Hardware::fieldIdAccessorName(id), name);
    map.queueEmptyByIdIs(n, !tc::bitOf(before, n));
    EXPECT_EQ(tc::changedOutside(before, buf, n, 1), 0u);
    EXPECT_EQ(map.queueEmptyById(n), !tc::bitOf(before, n));
    map.queueEmptyByIdIs(n, tc::bitOf(before, n));
  }
  EXPECT_EQ(Ids::QUEUE_EMPTY_100, 534u);
  EXPECT_EQ(Ids::QUEUE_EMPTY_511, 945u);
}

TEST(QueueEmptyMap, TypedFlagsAtTheEdges) {
  std::vector<U8> buf(64, 0);
  PqpEgressQueuesEmpty map(ChipType::BCM88859_A2, buf.data(), 64, false, 0);
  map.queueEmpty100Is(1);
  std::vector<U8> want(64, 0);
  want[12] = 0x10;
  EXPECT_EQ(buf, want);
  EXPECT_EQ(map.queueEmpty100(), 1);
  EXPECT_EQ(map.queueEmpty100Offset(), 100);
  EXPECT_EQ(map.queueEmpty100Len(), 1);
  EXPECT_TRUE(map.isQueueEmpty100Valid());

  buf[0] = 0x01;
  buf[63] = 0x80;
  EXPECT_EQ(map.queueEmptyById(0), 1);
  EXPECT_EQ(map.queueEmpty511(), 1);
  EXPECT_EQ(map.queueEmptyById(511), 1);
  EXPECT_EQ(map.queueEmptyById(510), 0);
  EXPECT_EQ(map.queueEmpty1(), 0);
}

TEST(QueueEmptyMap, WholeMapView) {
  auto buf = tc::randomBytes(64, 3);
  PqpEgressQueuesEmpty map(ChipType::BCM88850_A0, buf.data(), 64, false, 0);
  EXPECT_EQ(map.fieldCount(), 513);
  EXPECT_EQ(map.eqmEmptyLen(), 512);
  EXPECT_EQ(map.eqmEmptyOffset(), 0);
  EXPECT_EQ(map.fieldWidth(Ids::EQM_EMPTY), 512);

  const Raw512 whole = map.eqmEmpty();
  EXPECT_TRUE(std::equal(whole.begin(), whole.end(), buf.begin()));
  for (U16 word = 0; word < 8; ++word) {
    U64 expected = 0;
    std::memcpy(&expected, buf.data() + 8 * word, 8);
    EXPECT_EQ(map.stringField("eqmEmpty", word), expected) << word;
  }
  Raw512 flags{};
  flags[0] = 0x01;   // queue 0
  flags[63] = 0x80;  // queue 511
  map.eqmEmptyIs(flags);
  EXPECT_TRUE(std::equal(flags.begin(), flags.end(), buf.begin()));
  EXPECT_EQ(map.queueEmpty0(), 1);
  EXPECT_EQ(map.queueEmpty511(), 1);
  EXPECT_EQ(map.stringField("eqmEmpty", 0), 1u);

  std::fill(buf.begin(), buf.end(), 0xff);
  const Raw512 all = map.getAllFields();
  const Raw8192 mask = map.allFieldsMask();
  EXPECT_TRUE(std::all_of(all.begin(), all.end(), [](U8 b) { return b == 0xff; }));
  EXPECT_TRUE(std::equal(all.begin(), all.end(), mask.begin()));
  EXPECT_TRUE(std::all_of(mask.begin() + 64, mask.end(), [](U8 b) { return b == 0; }));

  // The view can't be written as a 64-bit value.
  EXPECT_ASSERTION(map.setField64(Ids::EQM_EMPTY, 1), "false");
  EXPECT_ASSERTION(map.stringFieldIs("eqmEmpty", 1), "false");
}

TEST(QueueEmptyMap, Checks) {
  std::vector<U8> buf(64, 0);
  PqpEgressQueuesEmpty map(ChipType::BCM88850_A0, buf.data(), 64, false, 0);
  EXPECT_MESSAGE_ASSERTION(map.queueEmptyById(512),
                           "Array index 512 out of range for queueEmptyById", "0");
  EXPECT_MESSAGE_ASSERTION(map.queueEmptyByIdIs(512, 0),
                           "Array index 512 out of range for queueEmptyByIdIs", "0");
  EXPECT_MESSAGE_ASSERTION(map.stringField("queueEmptyById", 0), "fieldName not found.", "false");
  EXPECT_MESSAGE_ASSERTION(map.stringField("queueEmpty512", 0), "fieldName not found.", "false");
  EXPECT_MESSAGE_ASSERTION(map.stringFieldIs("queueEmpty0 ", 0), "fieldName not found or is const.",
                           "false");

  EXPECT_TRUE(map.isFieldValid(945));
  for (U32 id : {433u, 946u, 230u}) {
    EXPECT_FALSE(map.isFieldValid(id));
    EXPECT_EQ(map.fieldWidth(id), 0);
  }
  EXPECT_ASSERTION(map.fieldOffset(946), "false");
  EXPECT_ASSERTION(map.setField64(433, 0), "false");

  // Flag N needs the byte N / 8; the whole map needs all 64.
  PqpEgressQueuesEmpty map63(ChipType::BCM88850_A0, buf.data(), 63, false, 0);
  map63.queueEmpty503Is(1);
  EXPECT_EQ(map63.queueEmptyById(503), 1);
  EXPECT_ASSERTION(map63.queueEmpty504Is(1), "len_ >= 64");
  EXPECT_ASSERTION(map63.queueEmptyById(511), "len_ >= 64");
  EXPECT_ASSERTION(map63.getAllFields(), "len_ >= 64");
  EXPECT_ASSERTION(map63.eqmEmpty(), "len_ >= 64");
  EXPECT_ASSERTION(map63.eqmEmptyIs(Raw512{}), "len_ >= 64");
}

TEST(QueueEmptyMap, ExistsOn88850And88859Only) {
  for (ChipType chip : tc::allChips())
    for (U8 variant = 0; variant < 2; ++variant)
      EXPECT_EQ(PqpEgressQueuesEmpty::chipTypeVariantValid(chip, variant),
                variant == 0 && (chip == ChipType::BCM88850_A0 || chip == ChipType::BCM88859_A2));
  auto obj = Hardware::stringObj("PqpEgressQueuesEmpty", ChipType::BCM88859_A2, 0);
  EXPECT_EQ(obj->width(), 16);
  EXPECT_EQ(obj->fieldCount(), 513);
  obj->setField64(Ids::QUEUE_EMPTY_100, 1);
  EXPECT_EQ(obj->stringField("eqmEmpty", 1), U64{1} << 36);
}

TEST(QueueEmptyMap, LookupByNameAllocatesNothing) {
  std::vector<U8> buf(64, 0xff);
  PqpEgressQueuesEmpty map(ChipType::BCM88850_A0, buf.data(), 64, false, 0);
  const Larch::String last("queueEmpty511"), whole("eqmEmpty");
  const long before = tc::allocations();
  const U64 a = map.stringField(last, 0);
  map.stringFieldIs(last, 0);
  const U64 b = map.stringField(whole, 7);
  EXPECT_EQ(0, tc::allocations() - before);
  EXPECT_EQ(a, 1u);
  EXPECT_EQ(b, 0x7fffffffffffffffull);
}

}  // namespace
