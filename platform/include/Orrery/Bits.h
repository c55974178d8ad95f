// Orrery stand-in: bit copies between byte buffers and word masks.
//
// Bit k of a buffer is bit (k mod 8), counted from the low end, of byte k / 8.
#pragma once

#include <Hardware/Types.h>

#include <cstring>

namespace Detail {

namespace BitsImpl {

// Reads n <= 57 bits at bit offset off of buf; bytes at or past len read as 0.
inline U64 read(const U8* buf, int len, int off, int n) {
  const int byte = off >> 3;
  const int shift = off & 7;
  U64 word = 0;
  if (byte + 8 <= len) {
    std::memcpy(&word, buf + byte, 8);
  } else {
    for (int i = 0; i < 8 && byte + i < len; ++i) word |= static_cast<U64>(buf[byte + i]) << (8 * i);
  }
  const U64 mask = n >= 64 ? ~U64{0} : ((U64{1} << n) - 1);
  return (word >> shift) & mask;
}

// Writes the low n <= 57 bits of value at bit offset off of buf; other bits stay.
inline void write(U8* buf, int len, int off, int n, U64 value) {
  const int byte = off >> 3;
  const int shift = off & 7;
  const U64 mask = ((n >= 64 ? ~U64{0} : ((U64{1} << n) - 1))) << shift;
  const U64 bits = (value << shift) & mask;
  if (byte + 8 <= len) {
    U64 word;
    std::memcpy(&word, buf + byte, 8);
    word = (word & ~mask) | bits;
    std::memcpy(buf + byte, &word, 8);
  } else {
    const int last = (shift + n + 7) >> 3;
    for (int i = 0; i < last && byte + i < len; ++i) {
      const U8 m = static_cast<U8>(mask >> (8 * i));
      buf[byte + i] = static_cast<U8>((buf[byte + i] & ~m) | static_cast<U8>(bits >> (8 * i)));
    }
  }
}

}  // namespace BitsImpl

// Copies nbits bits from src bit srcBitOffset + i to dst bit dstBitOffset + i.
// Every other bit of dst stays as it was. The caller keeps both ranges inside
// their lengths.
inline void copyBits(U8* dst, int dstLen, const U8* src, int srcLen, int nbits, int dstBitOffset,
                     int srcBitOffset) {
  while (nbits > 0) {
    const int n = nbits < 56 ? nbits : 56;
    BitsImpl::write(dst, dstLen, dstBitOffset, n, BitsImpl::read(src, srcLen, srcBitOffset, n));
    nbits -= n;
    dstBitOffset += n;
    srcBitOffset += n;
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
