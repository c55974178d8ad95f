// Hand-written field access over the same bytes as the accessors measured in
// AccessorBench.cpp: what a careful programmer writes for one known chip,
// with the layout baked in. It is the floor a generated accessor is held to.
//
// Each operation exists twice: inline here, for the fully inlined reference,
// and out of line in libTesselBenchBaseline.so (Baseline.cpp), which is
// called across a shared-library boundary exactly as the accessors are.
#pragma once

#include <Hardware/Types.h>

#include <cstring>

namespace Baseline {

// The part of an accessor object that a field access reads: the buffer.
struct View {
  U8* buf;
};

inline U64 load64(const U8* p) {
  U64 w;
  std::memcpy(&w, p, 8);
  return w;
}
inline void store64(U8* p, U64 w) {
  std::memcpy(p, &w, 8);
}
inline U32 load32(const U8* p) {
  U32 w;
  std::memcpy(&w, p, 4);
  return w;
}
inline void store32(U8* p, U32 w) {
  std::memcpy(p, &w, 4);
}

// CrpsEngineCfg on BCM88860_A0: engineNWeightShiftRatio, bits 8..13.
inline U8 narrowInline(const View& v) {
  return static_cast<U8>(v.buf[1] & 0x3f);
}
inline void narrowIsInline(View& v, U8 value) {
  v.buf[1] = static_cast<U8>((v.buf[1] & ~0x3f) | (value & 0x3f));
}

// CrpsEngineCfg on BCM88860_A0: engineNScanPulsesDelayBeforeCount, bits 60..75,
// across the first and second 32-bit words (bytes 7..9).
inline U16 straddleInline(const View& v) {
  return static_cast<U16>((load32(v.buf + 7) >> 4) & 0xffff);
}
inline void straddleIsInline(View& v, U16 value) {
  const U32 mask = U32{0xffff} << 4;
  store32(v.buf + 7, (load32(v.buf + 7) & ~mask) | (static_cast<U32>(value) << 4));
}

// CfcEgqPfcStatus on BCM88850_A0: egqPfcStatus, bits 0..63.
inline U64 wideInline(const View& v) {
  return load64(v.buf);
}
inline void wideIsInline(View& v, U64 value) {
  store64(v.buf, value);
}

// CrpsEngineCfg on BCM88860_A0: engineNAvoidSeqScanValue, a Raw128 of bits
// 142..213 (bytes 17..26).
inline Raw128 rawInline(const View& v) {
  const U64 lo = load64(v.buf + 17);
  const U64 hi = load64(v.buf + 25);
  Raw128 r{};
  store64(r.data(), (lo >> 6) | (hi << 58));
  r[8] = static_cast<U8>(hi >> 6);
  return r;
}
inline void rawIsInline(View& v, const Raw128& value) {
  const U64 vlo = load64(value.data());
  const U64 lo = load64(v.buf + 17);
  const U64 hi = load64(v.buf + 25);
  const U64 hiMask = U64{0x3fff};  // bits 200..213 of the entry, bits 0..13 of hi
  store64(v.buf + 17, (lo & 0x3f) | (vlo << 6));
  store64(v.buf + 25, (hi & ~hiMask) | ((vlo >> 58) | (static_cast<U64>(value[8]) << 6)));
}

// The same, not inlined, in another shared library.
//
// The "checked" forms do in addition what the accessors' contract demands of
// any implementation, written by hand for the one chip: test the trace level
// mask, check chip, variant and buffer length, and on a setter the value's
// width, each failure ending the process.
struct CheckedView {
  U8* buf;
  U8 chipType;
  U8 variant;
  U16 len;
};
// Hidden, as the library's own pointer to its trace mask is.
extern const U16* traceMask __attribute__((visibility("hidden")));
U8 narrowChecked(const CheckedView& v);
void narrowIsChecked(CheckedView& v, U8 value);

U8 narrow(const View& v);
void narrowIs(View& v, U8 value);
U16 straddle(const View& v);
void straddleIs(View& v, U16 value);
U64 wide(const View& v);
void wideIs(View& v, U64 value);
Raw128 raw(const View& v);
void rawIs(View& v, const Raw128& value);

}  // namespace Baseline
