// Orrery stand-in: bit copies between byte buffers and word masks.
//
// Bit k of a buffer is bit (k mod 8), counted from the low end, of byte k / 8.
#pragma once

#include <Hardware/Types.h>

#include <cstring>

namespace Detail {

namespace BitsImpl {

// The bytes that hold bits off .. off + n - 1, n <= 57, as one load or store:
// the smallest window of 1, 2, 4 or 8 bytes that ends at the last of those
// bytes, moved back to byte 0 if it would start before it. Where the offsets
// and widths are constants, as in a generated accessor, all of this folds
// away and leaves one load and one shift.
struct Window {
  int start;  // first byte of the window
  int size;   // bytes in the window
  int shift;  // bit off, counted from the window's first byte
};

[[gnu::always_inline]] inline Window window(int off, int n) {
  const int first = off >> 3;
  const int end = (off + n + 7) >> 3;  // one past the last byte
  const int bytes = end - first;
  const int size = bytes <= 1 ? 1 : bytes <= 2 ? 2 : bytes <= 4 ? 4 : 8;
  const int start = end - size < 0 ? 0 : end - size;
  return Window{start, size, off - 8 * start};
}

// Reads n <= 57 bits at bit offset off of buf; bytes at or past len read as 0.
[[gnu::always_inline]] inline U64 read(const U8* buf, int len, int off, int n) {
  const Window w = window(off, n);
  U64 word = 0;
  if (w.start + w.size <= len) {
    std::memcpy(&word, buf + w.start, static_cast<std::size_t>(w.size));
  } else {
    for (int i = 0; i < w.size && w.start + i < len; ++i)
      word |= static_cast<U64>(buf[w.start + i]) << (8 * i);
  }
  return (word >> w.shift) & ((U64{1} << n) - 1);
}

// Writes the low n <= 57 bits of value at bit offset off of buf; other bits stay.
[[gnu::always_inline]] inline void write(U8* buf, int len, int off, int n, U64 value) {
  const Window w = window(off, n);
  const U64 mask = ((U64{1} << n) - 1) << w.shift;
  const U64 bits = (value << w.shift) & mask;
  if (w.start + w.size <= len) {
    U64 word = 0;
    std::memcpy(&word, buf + w.start, static_cast<std::size_t>(w.size));
    word = (word & ~mask) | bits;
    std::memcpy(buf + w.start, &word, static_cast<std::size_t>(w.size));
  } else {
    for (int i = 0; i < w.size && w.start + i < len; ++i) {
      const U8 m = static_cast<U8>(mask >> (8 * i));
      buf[w.start + i] =
          static_cast<U8>((buf[w.start + i] & ~m) | static_cast<U8>(bits >> (8 * i)));
    }
  }
}

}  // namespace BitsImpl

// Copies nbits bits from src bit srcBitOffset + i to dst bit dstBitOffset + i.
// Every other bit of dst stays as it was. The caller keeps both ranges inside
// their lengths. Always inlined: with constant widths and offsets it folds to
// a load, a shift and a mask, and as a call it would cost more than that.
[[gnu::always_inline]] inline void copyBits(U8* dst, int dstLen, const U8* src, int srcLen,
                                            int nbits, int dstBitOffset, int srcBitOffset) {
  if (((nbits | dstBitOffset | srcBitOffset) & 7) == 0) {
    // Whole bytes on both sides.
    std::memcpy(dst + (dstBitOffset >> 3), src + (srcBitOffset >> 3),
                static_cast<std::size_t>(nbits >> 3));
    return;
  }
  // Counted, so that with a constant width the loop unrolls and a RawN field
  // becomes straight loads and stores.
  const int chunks = (nbits + 55) / 56;
#pragma GCC unroll 24
  for (int c = 0; c < chunks; ++c) {
    const int done = 56 * c;
    const int n = nbits - done < 56 ? nbits - done : 56;
    BitsImpl::write(dst, dstLen, dstBitOffset + done, n,
                    BitsImpl::read(src, srcLen, srcBitOffset + done, n));
  }
}

}  // namespace Detail

// dst word i = src word i AND mask word i, for i below the smallest count.
// Source and destination words are copied through memcpy, so neither pointer
// needs alignment (a caller's byte buffer seldom has it).
inline void maskBuf(const U32* src, int srcWords, U32* dst, int dstWords, const U32* mask,
                    int maskWords) {
  int n = srcWords < dstWords ? srcWords : dstWords;
  if (maskWords < n) n = maskWords;
  for (int i = 0; i < n; ++i) {
    U32 word;
    std::memcpy(&word, reinterpret_cast<const U8*>(src) + 4 * i, sizeof(word));
    word &= mask[i];
    std::memcpy(reinterpret_cast<U8*>(dst) + 4 * i, &word, sizeof(word));
  }
}
