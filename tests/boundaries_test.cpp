// Every boundary the contract draws, sampled over all classes: the last byte
// of a length check, the first value over a limit, the first identifier past
// the instance count, the first array index and table entry out of range, and
// the first index past an indexed accessor's bound. The buffer lives in
// memory shared with the child that dies, so the test sees that a call
// stopped by a check wrote nothing.
#include <sys/mman.h>

#include <map>

#include "Dump.h"
#include "TestSupport.h"

using namespace Hardware;

namespace {

using Make = std::unique_ptr<Orrery::AsicBase> (*)(ChipType, U8*, U16, U8);

// Every accessor class of the build's headers, by name, for construction
// over a caller's buffer.
const std::map<std::string, Make>& makers() {
  static const std::map<std::string, Make> m = [] {
    std::map<std::string, Make> out;
    for (const auto& k : ApiDump::allClasses()) out[k.name] = k.make;
    return out;
  }();
  return m;
}

// A buffer shared with forked children.
class SharedBuffer {
 public:
  SharedBuffer() {
    mem_ = static_cast<U8*>(
        mmap(nullptr, kSize, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
  }
  ~SharedBuffer() { munmap(mem_, kSize); }
  U8* data() { return mem_; }
  void fill(unsigned seed) {
    const auto r = tc::randomBytes(kSize, seed);
    std::copy(r.begin(), r.end(), mem_);
    saved_ = r;
  }
  bool unchanged() const { return std::equal(saved_.begin(), saved_.end(), mem_); }

 private:
  static constexpr std::size_t kSize = 4096;
  U8* mem_;
  std::vector<U8> saved_;
};

std::string hex(U64 v) {
  char buf[32];
  std::snprintf(buf, sizeof(buf), "0x%llx", static_cast<unsigned long long>(v));
  return buf;
}

struct FirstPair {
  ChipType chip;
  U8 variant;
};

FirstPair firstPair(const std::string& cls) {
  for (ChipType c : tc::allChips())
    for (int v = 0; v < 64; ++v)
      if (Hardware::chipTypeVariantValid(cls.c_str(), c, static_cast<U8>(v)))
        return {c, static_cast<U8>(v)};
  return {ChipType::BCM88690_B0, 255};
}

TEST(Boundaries, EveryClassCanBeBuiltOverACallersBuffer) {
  ASSERT_EQ(accessorClassCount(), makers().size());
  for (U32 i = 0; i < accessorClassCount(); ++i) EXPECT_TRUE(makers().count(accessorClassName(i)));
}

TEST(Boundaries, LengthAndValueChecksStopBeforeWriting) {
  SharedBuffer shared;
  unsigned seed = 0;
  std::size_t sampled = 0;
  for (const auto& [cls, make] : makers()) {
    const FirstPair p = firstPair(cls);
    auto full = make(p.chip, shared.data(), 4096, p.variant);
    std::vector<U32> ids;
    for (U32 id = FieldIds::kFirst; id <= FieldIds::kLast; ++id)
      if (full->isFieldValid(id) && full->fieldWidth(id) <= 64) ids.push_back(id);
    // The first and last fields by identifier, and a few between.
    std::vector<U32> sample;
    for (std::size_t i = 0; i < ids.size(); i += std::max<std::size_t>(1, ids.size() / 4))
      sample.push_back(ids[i]);
    if (!ids.empty()) sample.push_back(ids.back());
    sampled += sample.size();
    for (U32 id : sample) {
      const U16 offset = full->fieldOffset(id);
      const U16 width = full->fieldWidth(id);
      const U16 need = static_cast<U16>((offset + width + 7) / 8);
      const char* name = fieldIdAccessorName(id);
      SCOPED_TRACE(cls + "::" + name);
      shared.fill(++seed);
      auto shortBuf = make(p.chip, shared.data(), static_cast<U16>(need - 1), p.variant);
      EXPECT_ASSERTION(shortBuf->setField64(id, 0), "len_ >= " + std::to_string(need));
      EXPECT_ASSERTION(shortBuf->stringFieldIs(name, 0), "len_ >= " + std::to_string(need));
      EXPECT_ASSERTION(shortBuf->stringField(name, 0), "len_ >= " + std::to_string(need));
      EXPECT_TRUE(shared.unchanged());
      // Widths of 8, 16, 32 and 64 bits take any value of their type.
      if (width != 8 && width != 16 && width != 32 && width != 64) {
        const U64 over = 1ULL << width;
        EXPECT_ASSERTION(full->setField64(id, over), "value <= " + hex(over - 1));
        EXPECT_TRUE(shared.unchanged());
      }
    }
  }
  EXPECT_GT(sampled, 2 * makers().size());
}

TEST(Boundaries, AddressChecksStopAtTheFirstValueOutOfRange) {
  SharedBuffer shared;
  for (const auto& [cls, make] : makers()) {
    const FirstPair p = firstPair(cls);
    SCOPED_TRACE(cls);
    auto o = make(p.chip, shared.data(), 4096, p.variant);
    const U16 instances = o->instanceCount();
    const U32 elements = o->arrayElements();
    U32 a, s, b;
    EXPECT_TRUE(o->getSchanAddress(a, s, b, static_cast<U16>(instances - 1), 0,
                                   static_cast<U16>(elements - 1)));
    EXPECT_ASSERTION(o->getSchanAddress(a, s, b, instances, 0, 0),
                     "hasIdentifier( chipType, variant, identifier )");
    if (o->isTable()) {
      const U32 entries = o->entries();
      EXPECT_TRUE(o->getSchanAddress(a, s, b, 0, entries - 1, 0));
      EXPECT_ASSERTION(o->getSchanAddress(a, s, b, 0, entries, 0),
                       "tableEntry < " + std::to_string(entries));
      const bool equalityForm = tc::num(p.chip) <= 16;  // 88690 to 88480x
      EXPECT_ASSERTION(o->getSchanAddress(a, s, b, 0, 0, static_cast<U16>(elements)),
                       elements > 1 || !equalityForm ? "arrayIndex < " + std::to_string(elements)
                                                     : std::string("arrayIndex == 0"));
    } else {
      EXPECT_ASSERTION(o->getSchanAddress(a, s, b, 0, 1, 0), "tableEntry == 0");
      EXPECT_ASSERTION(o->getSchanAddress(a, s, b, 0, 0, static_cast<U16>(elements)),
                       "arrayIndex < " + std::to_string(elements));
    }
  }
}

TEST(Boundaries, IndexedAccessorsStopAtTheFirstIndexPastTheirBound) {
  SharedBuffer shared;
  shared.fill(7);
  IppfStatisticsInfo ippf(ChipType::BCM88860_A0, shared.data(), 52, false, 0);
  ippf.metadataUcByLayerType(63);
  EXPECT_MESSAGE_ASSERTION(ippf.metadataUcByLayerTypeIs(64, 0),
                           "Array index 64 out of range for metadataUcByLayerTypeIs", "0");
  PqpEgressQueuesEmpty queues(ChipType::BCM88850_A0, shared.data(), 64, false, 0);
  queues.queueEmptyById(511);
  EXPECT_MESSAGE_ASSERTION(queues.queueEmptyByIdIs(512, 1),
                           "Array index 512 out of range for queueEmptyByIdIs", "0");
  McpEngDbBankSource banks(ChipType::BCM88850_A0, shared.data(), 12, false, 0);
  banks.engDbCBankSource(35);
  EXPECT_MESSAGE_ASSERTION(banks.engDbCBankSourceIs(36, 0),
                           "Array index 36 out of range for engDbCBankSourceIs", "0");
  CrpsIfAdapterEgqEppCtrCfg egq(ChipType::BCM88860_A0, shared.data(), 76, false, 18);
  egq.expansionSelectByInterfaceAndType(31);
  EXPECT_MESSAGE_ASSERTION(egq.expansionSelectByInterfaceAndTypeIs(32, 0),
                           "Array index 32 out of range for expansionSelectByInterfaceAndTypeIs",
                           "0");
  EXPECT_TRUE(shared.unchanged());
}

// In a buffer that just holds a field, the field reads and writes exactly its
// bits, and no byte past the buffer is read into the value or written: the
// one-load paths, which read bytes around the field, stop at the buffer's end.
TEST(Boundaries, AFieldInTheShortestBufferThatHoldsIt) {
  unsigned seed = 0, fields = 0;
  for (const auto& [cls, make] : makers()) {
    const FirstPair p = firstPair(cls);
    std::vector<U8> probe(4096);
    auto full = make(p.chip, probe.data(), 4096, p.variant);
    for (U32 id = FieldIds::kFirst; id <= FieldIds::kLast; ++id) {
      if (!full->isFieldValid(id)) continue;
      const U16 offset = full->fieldOffset(id);
      const U16 width = full->fieldWidth(id);
      const U16 need = static_cast<U16>((offset + width + 7) / 8);
      const char* name = fieldIdAccessorName(id);
      SCOPED_TRACE(cls + "::" + name);
      // The bytes past the buffer are the complement of what the field's
      // last byte holds, so that a read of them shows in the value.
      std::vector<U8> buf = tc::randomBytes(need + 16u, ++seed);
      std::fill(buf.begin() + need, buf.end(), static_cast<U8>(~buf[need - 1u]));
      const std::vector<U8> before = buf;
      auto o = make(p.chip, buf.data(), need, p.variant);
      for (U16 word = 0; 64 * word < width; ++word) {
        U64 expect = 0;
        for (unsigned i = 0; i < 64 && 64u * word + i < width; ++i)
          if (tc::bitOf(before, offset + 64u * word + i)) expect |= U64{1} << i;
        EXPECT_EQ(expect, o->stringField(name, word)) << "word " << word;
      }
      if (width <= 64) {
        const U64 max = width == 64 ? ~U64{0} : (U64{1} << width) - 1;
        for (const U64 value : {max, U64{0}}) {
          o->setField64(id, value);
          EXPECT_EQ(0u, tc::changedOutside(before, buf, offset, width));
          for (unsigned b = offset; b < offset + width; ++b)
            ASSERT_EQ(value != 0, tc::bitOf(buf, b)) << "bit " << b;
        }
      }
      ++fields;
    }
  }
  EXPECT_GT(fields, 1000u);
}

}  // namespace
