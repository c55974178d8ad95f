// Orrery stand-in: bit copies between byte buffers and word masks.
//
// Bit k of a buffer is bit (k mod 8), counted from the low end, of byte k / 8.
#pragma once

#include <Hardware/Types.h>

#include <cstring>

namespace Detail {

namespace BitsImpl {

// The bytes that hold bits off .. off + n - 1, as one load or store, where
// those bits lie in 8 bytes ((off mod 8) + n <= 64, so always for n <= 57):
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

// Reads n bits at bit offset off of buf, (off mod 8) + n <= 64; bytes at or
// past len read as 0.
[[gnu::always_inline]] inline U64 read(const U8* buf, int len, int off, int n) {
  const Window w = window(off, n);
  U64 word = 0;
  if (w.start + w.size <= len) {
    std::memcpy(&word, buf + w.start, static_cast<std::size_t>(w.size));
  } else {
    for (int i = 0; i < w.size && w.start + i < len; ++i)
      word |= static_cast<U64>(buf[w.start + i]) << (8 * i);
  }
  return (word >> w.shift) & (n == 64 ? ~U64{0} : (U64{1} << n) - 1);
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

// Reads n <= 64 bits at bit offset off of src, in at most two loads.
[[gnu::always_inline]] inline U64 readWide(const U8* src, int len, int off, int n) {
  if ((off & 7) + n <= 64) return read(src, len, off, n);
  return read(src, len, off, 56) | (read(src, len, off + 56, n - 56) << 56);
}

// Sets the bits of a field (nbits at dstOff of dst, taken from srcOff of src)
// that fall on dst bytes start .. start + size - 1, size 1, 2, 4 or 8; the
// piece's other bits stay as they were.
[[gnu::always_inline]] inline void writePiece(U8* dst, int start, int size, int dstOff, int nbits,
                                              const U8* src, int srcLen, int srcOff) {
  // The field's bit under the piece's bit 0; negative where the field starts
  // inside the piece.
  const int first = 8 * start - dstOff;
  const int lo = first < 0 ? 0 : first;
  const int hi = nbits < first + 8 * size ? nbits : first + 8 * size;
  const int count = hi - lo;
  const int shift = lo - first;
  const U64 mask = (count == 64 ? ~U64{0} : (U64{1} << count) - 1) << shift;
  const U64 bits = readWide(src, srcLen, srcOff + lo, count) << shift;
  U64 word = 0;
  std::memcpy(&word, dst + start, static_cast<std::size_t>(size));
  word = (word & ~mask) | bits;
  std::memcpy(dst + start, &word, static_cast<std::size_t>(size));
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
  if (nbits <= 57) {
    BitsImpl::write(dst, dstLen, dstBitOffset, nbits,
                    BitsImpl::read(src, srcLen, srcBitOffset, nbits));
    return;
  }
  // A wider field is written in pieces of 8 bytes and then 4, 2 and 1, so
  // that no two pieces share a byte: a piece never reloads a byte that the
  // one before it has just stored, which would stall the store forwarding.
  // With constant widths and offsets the loop unrolls into straight loads
  // and stores.
  const int end = (dstBitOffset + nbits + 7) >> 3;
  int start = dstBitOffset >> 3;
#pragma GCC unroll 24
  for (; start + 8 <= end; start += 8)
    BitsImpl::writePiece(dst, start, 8, dstBitOffset, nbits, src, srcLen, srcBitOffset);
  if (end - start >= 4) {
    BitsImpl::writePiece(dst, start, 4, dstBitOffset, nbits, src, srcLen, srcBitOffset);
    start += 4;
  }
  if (end - start >= 2) {
    BitsImpl::writePiece(dst, start, 2, dstBitOffset, nbits, src, srcLen, srcBitOffset);
    start += 2;
  }
  if (end - start >= 1)
    BitsImpl::writePiece(dst, start, 1, dstBitOffset, nbits, src, srcLen, srcBitOffset);
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
