// The bit copy under every field accessor, against a copy made one bit at a
// time. The buffers are exactly as long as the bits they hold, so that a read
// or write past either end shows under the address sanitizer.
#include <Orrery/Bits.h>
#include <gtest/gtest.h>

#include <random>
#include <vector>

namespace {

bool bitOf(const std::vector<U8>& b, int k) {
  return (b[k >> 3] >> (k & 7)) & 1;
}

void setBitOf(std::vector<U8>& b, int k, bool v) {
  b[k >> 3] = static_cast<U8>((b[k >> 3] & ~(1 << (k & 7))) | (v << (k & 7)));
}

std::vector<U8> randomBytes(std::mt19937& rng, int n) {
  std::vector<U8> bytes(static_cast<std::size_t>(n));
  for (auto& b : bytes) b = static_cast<U8>(rng());
  return bytes;
}

// Narrow fields take one load and one store, wider ones are written in
// pieces; offsets cover every position of the first and last bit in a byte.
TEST(CopyBits, MatchesABitByBitCopyForEveryWidthAndOffset) {
  std::mt19937 rng(20261123);
  for (int nbits = 1; nbits <= 1100; nbits += (nbits < 140 ? 1 : 37)) {
    for (int trial = 0; trial < 24; ++trial) {
      // A third of the trials read a field into a value (to bit 0), a third
      // write one from a value (from bit 0), as the accessors do.
      const int dstOff = trial % 3 == 0 ? 0 : static_cast<int>(rng() % 80);
      const int srcOff = trial % 3 == 1 ? 0 : static_cast<int>(rng() % 80);
      auto src = randomBytes(rng, (srcOff + nbits + 7) / 8);
      auto dst = randomBytes(rng, (dstOff + nbits + 7) / 8);
      auto expected = dst;
      for (int i = 0; i < nbits; ++i) setBitOf(expected, dstOff + i, bitOf(src, srcOff + i));
      Detail::copyBits(dst.data(), static_cast<int>(dst.size()), src.data(),
                       static_cast<int>(src.size()), nbits, dstOff, srcOff);
      ASSERT_EQ(dst, expected) << nbits << " bits from " << srcOff << " to " << dstOff;
    }
  }
}

}  // namespace
