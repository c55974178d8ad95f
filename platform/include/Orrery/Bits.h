// Orrery stand-in: bit copies between byte buffers and word masks.
//
// Bit k of a buffer is bit (k mod 8), counted from the low end, of byte k / 8.
#pragma once

#include <Hardware/Types.h>

#include <cstring>

namespace Detail {

namespace BitsImpl {

// The n bytes at p (1 <= n <= 8) as a little-endian number, in one or two
// loads: two overlapping ones where n is not a power of two.
[[gnu::always_inline]] inline U64 loadBytes(const U8* p, int n) {
  if (n >= 8) {
    U64 word;
    std::memcpy(&word, p, 8);
    return word;
  }
  if (n >= 4) {
    U32 low, high;
    std::memcpy(&low, p, 4);
    std::memcpy(&high, p + n - 4, 4);
    return low | static_cast<U64>(high) << (8 * (n - 4));
  }
  if (n >= 2) {
    U16 low, high;
    std::memcpy(&low, p, 2);
    std::memcpy(&high, p + n - 2, 2);
    return low | static_cast<U64>(high) << (8 * (n - 2));
  }
  return p[0];
}

// Stores the low n bytes of word at p (1 <= n <= 8), in the same way.
[[gnu::always_inline]] inline void storeBytes(U8* p, int n, U64 word) {
  if (n >= 8) {
    std::memcpy(p, &word, 8);
  } else if (n >= 4) {
    const U32 low = static_cast<U32>(word);
    const U32 high = static_cast<U32>(word >> (8 * (n - 4)));
    std::memcpy(p, &low, 4);
    std::memcpy(p + n - 4, &high, 4);
  } else if (n >= 2) {
    const U16 low = static_cast<U16>(word);
    const U16 high = static_cast<U16>(word >> (8 * (n - 2)));
    std::memcpy(p, &low, 2);
    std::memcpy(p + n - 2, &high, 2);
  } else {
    p[0] = static_cast<U8>(word);
  }
}

// The low n bits set, 1 <= n <= 64.
[[gnu::always_inline]] inline U64 lowBits(int n) {
  return ~U64{0} >> (64 - n);
}

// The bytes of a buffer of len bytes from the one that holds bit off on, up
// to 8 of them.
[[gnu::always_inline]] inline int windowBytes(int off, int len) {
  const int rest = len - (off >> 3);
  return rest < 8 ? rest : 8;
}

// Reads n bits at bit off of buf, where they lie in 8 bytes: (off mod 8) + n <= 64.
[[gnu::always_inline]] inline U64 readWindow(const U8* buf, int len, int off, int n) {
  const U64 word = loadBytes(buf + (off >> 3), windowBytes(off, len));
  return (word >> (off & 7)) & lowBits(n);
}

// Writes the low n bits of value at bit off of buf, under the same condition;
// every other bit stays.
[[gnu::always_inline]] inline void writeWindow(U8* buf, int len, int off, int n, U64 value) {
  const int bytes = windowBytes(off, len);
  const U64 mask = lowBits(n) << (off & 7);
  const U64 word = loadBytes(buf + (off >> 3), bytes);
  storeBytes(buf + (off >> 3), bytes, (word & ~mask) | ((value << (off & 7)) & mask));
}

// Reads n <= 64 bits at bit off of buf, in one window or two.
[[gnu::always_inline]] inline U64 read(const U8* buf, int len, int off, int n) {
  if ((off & 7) + n <= 64) return readWindow(buf, len, off, n);
  return readWindow(buf, len, off, 32) | readWindow(buf, len, off + 32, n - 32) << 32;
}

// Reads nbits > 64 bits at bit off of src into bits 0.. of dst: a word of the
// destination at a time, each from one load of 8 source bytes and the byte
// after them. Bits of dst past nbits stay.
[[gnu::always_inline]] inline void readWide(U8* dst, const U8* src, int srcLen, int nbits, int off) {
  const U8* p = src + (off >> 3);
  const int shift = off & 7;
  for (int bit = 0, rest = srcLen - (off >> 3); bit < nbits; bit += 64, p += 8, rest -= 8) {
    U64 word = loadBytes(p, rest < 8 ? rest : 8) >> shift;
    if (shift != 0 && rest > 8) word |= static_cast<U64>(p[8]) << (64 - shift);
    U8* q = dst + (bit >> 3);
    const int n = nbits - bit < 64 ? nbits - bit : 64;
    if (n == 64) {
      std::memcpy(q, &word, 8);
    } else {
      const int bytes = (n + 7) >> 3;
      const U64 mask = lowBits(n);
      storeBytes(q, bytes, (loadBytes(q, bytes) & ~mask) | (word & mask));
    }
  }
}

// Writes bits 0 .. nbits - 1 > 64 of src at bit off of dst: in pieces of 8
// bytes of the destination that share no byte, each made of two source words
// shifted together; only the first and last piece keep bits of dst.
[[gnu::always_inline]] inline void writeWide(U8* dst, const U8* src, int srcLen, int nbits, int off) {
  U8* p = dst + (off >> 3);
  const int shift = off & 7;
  const int total = shift + nbits;  // bits from p's bit 0 to the field's end
  for (int j = 0; 64 * j < total; ++j, p += 8) {
    // Source word i: the field's bits 64 i .. 64 i + 63, of which the last
    // word may have fewer bytes.
    const auto sourceWord = [&](int i) {
      const int have = srcLen - 8 * i;
      return loadBytes(src + 8 * i, have < 8 ? have : 8);
    };
    U64 word = 64 * j < nbits ? sourceWord(j) << shift : 0;
    if (j > 0 && shift != 0) word |= sourceWord(j - 1) >> (64 - shift);
    const int high = total - 64 * j < 64 ? total - 64 * j : 64;
    const U64 mask = lowBits(high) & (~U64{0} << (j == 0 ? shift : 0));
    if (mask == ~U64{0}) {
      std::memcpy(p, &word, 8);
    } else {
      const int bytes = (high + 7) >> 3;
      storeBytes(p, bytes, (loadBytes(p, bytes) & ~mask) | (word & mask));
    }
  }
}

}  // namespace BitsImpl

// Copies nbits bits from src bit srcBitOffset + i to dst bit dstBitOffset + i.
// Every other bit of dst stays as it was. The caller keeps both ranges inside
// their lengths. Bits that lie within 8 bytes on both sides take a load from
// each side and a store; a wide field read into bit 0 of a value, or written
// from one, goes a word of the value at a time; whole bytes on both sides are
// copied as bytes. Any other field is written in pieces of 8 bytes of the
// destination, counted from its first byte, that share no byte, so that no
// piece reloads a byte the one before it has just stored.
[[gnu::always_inline]] inline void copyBits(U8* dst, int dstLen, const U8* src, int srcLen,
                                            int nbits, int dstBitOffset, int srcBitOffset) {
  using namespace BitsImpl;
  if (nbits <= 0) return;
  if ((srcBitOffset & 7) + nbits <= 64 && (dstBitOffset & 7) + nbits <= 64) {
    writeWindow(dst, dstLen, dstBitOffset, nbits, readWindow(src, srcLen, srcBitOffset, nbits));
    return;
  }
  if (nbits > 64 && dstBitOffset == 0) {
    readWide(dst, src, srcLen, nbits, srcBitOffset);
    return;
  }
  if (nbits > 64 && srcBitOffset == 0) {
    writeWide(dst, src, srcLen, nbits, dstBitOffset);
    return;
  }
  if (((nbits | dstBitOffset | srcBitOffset) & 7) == 0) {
    std::memcpy(dst + (dstBitOffset >> 3), src + (srcBitOffset >> 3),
                static_cast<std::size_t>(nbits >> 3));
    return;
  }
  const int end = dstBitOffset + nbits;
  int pieceEnd = 8 * (dstBitOffset >> 3) + 64;
  for (int bit = dstBitOffset; bit < end; pieceEnd += 64) {
    const int n = (pieceEnd < end ? pieceEnd : end) - bit;
    writeWindow(dst, dstLen, bit, n, read(src, srcLen, srcBitOffset + (bit - dstBitOffset), n));
    bit += n;
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
