// Values as bytes, their text, and the seeded random source.
#include <unistd.h>

#include <cstdio>
#include <cstring>

#include "Dump.h"

namespace ApiDump {
namespace {

Bytes little(U64 v, std::size_t n) {
  Bytes b(n);
  for (std::size_t i = 0; i < n; ++i) b[i] = static_cast<U8>(v >> (8 * i));
  return b;
}

Bytes fromArray(const U8* p, std::size_t n) {
  return Bytes(p, p + n);
}

// Fills n bytes at p from b, zeros past its end.
void toArray(U8* p, std::size_t n, const Bytes& b) {
  std::memset(p, 0, n);
  std::memcpy(p, b.data(), b.size() < n ? b.size() : n);
}

}  // namespace

Bytes bytesOf(U8 v) {
  return little(v, 1);
}
Bytes bytesOf(U16 v) {
  return little(v, 2);
}
Bytes bytesOf(U32 v) {
  return little(v, 4);
}
Bytes bytesOf(U64 v) {
  return little(v, 8);
}
Bytes bytesOf(const Raw128& v) {
  return fromArray(v.data(), v.size());
}
Bytes bytesOf(const Raw256& v) {
  return fromArray(v.data(), v.size());
}
Bytes bytesOf(const Raw512& v) {
  return fromArray(v.data(), v.size());
}
Bytes bytesOf(const Raw1024& v) {
  return fromArray(v.data(), v.size());
}

void fromBytes(U8& v, const Bytes& b) {
  v = static_cast<U8>(toU64(b));
}
void fromBytes(U16& v, const Bytes& b) {
  v = static_cast<U16>(toU64(b));
}
void fromBytes(U32& v, const Bytes& b) {
  v = static_cast<U32>(toU64(b));
}
void fromBytes(U64& v, const Bytes& b) {
  v = toU64(b);
}
void fromBytes(Raw128& v, const Bytes& b) {
  toArray(v.data(), v.size(), b);
}
void fromBytes(Raw256& v, const Bytes& b) {
  toArray(v.data(), v.size(), b);
}
void fromBytes(Raw512& v, const Bytes& b) {
  toArray(v.data(), v.size(), b);
}
void fromBytes(Raw1024& v, const Bytes& b) {
  toArray(v.data(), v.size(), b);
}

U64 toU64(const Bytes& b) {
  U64 v = 0;
  for (std::size_t i = 0; i < b.size() && i < 8; ++i) v |= static_cast<U64>(b[i]) << (8 * i);
  return v;
}

void out(const std::string& line) {
  std::string text = line + '\n';
  const char* p = text.data();
  std::size_t n = text.size();
  while (n > 0) {
    const ssize_t w = ::write(1, p, n);
    if (w <= 0) return;
    p += w;
    n -= static_cast<std::size_t>(w);
  }
}

std::string hex(const U8* p, std::size_t n) {
  static const char digits[] = "0123456789abcdef";
  std::string s;
  s.reserve(2 * n);
  for (std::size_t i = 0; i < n; ++i) {
    s += digits[p[i] >> 4];
    s += digits[p[i] & 15];
  }
  return s;
}

std::string hex(const Bytes& b) {
  return hex(b.data(), b.size());
}

std::string num(U64 v) {
  char text[24];
  std::snprintf(text, sizeof(text), "0x%llx", static_cast<unsigned long long>(v));
  return text;
}

std::string valueText(const Bytes& v, bool raw) {
  return raw ? hex(v) : num(toU64(v));
}

Bytes ones(std::size_t n) {
  return Bytes(n, 0xff);
}

Bytes widthMask(unsigned width, std::size_t n) {
  Bytes b(n, 0);
  for (unsigned k = 0; k < width && k / 8 < n; ++k)
    b[k / 8] = static_cast<U8>(b[k / 8] | (1u << (k % 8)));
  return b;
}

Bytes xorOf(const Bytes& a, const Bytes& b) {
  Bytes r(a);
  for (std::size_t i = 0; i < r.size() && i < b.size(); ++i) r[i] = static_cast<U8>(r[i] ^ b[i]);
  return r;
}

Bytes andOf(const Bytes& a, const Bytes& b) {
  Bytes r(a);
  for (std::size_t i = 0; i < r.size(); ++i) r[i] = static_cast<U8>(i < b.size() ? r[i] & b[i] : 0);
  return r;
}

// FNV-1a over the seed text, then splitmix64 steps.
Random::Random(const std::string& seed) : state_(0xcbf29ce484222325ULL) {
  for (unsigned char c : seed) state_ = (state_ ^ c) * 0x100000001b3ULL;
}

U64 Random::next() {
  U64 z = (state_ += 0x9e3779b97f4a7c15ULL);
  z = (z ^ (z >> 30)) * 0xbf58476d1ce4e5b9ULL;
  z = (z ^ (z >> 27)) * 0x94d049bb133111ebULL;
  return z ^ (z >> 31);
}

Bytes Random::bytes(std::size_t n) {
  Bytes b(n);
  for (std::size_t i = 0; i < n; i += 8) {
    const U64 v = next();
    for (std::size_t k = 0; k < 8 && i + k < n; ++k) b[i + k] = static_cast<U8>(v >> (8 * k));
  }
  return b;
}

}  // namespace ApiDump
