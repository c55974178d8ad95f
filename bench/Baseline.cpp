// The hand-written baseline, out of line and behind a shared-library boundary.
#include "Baseline.h"

#include <cstdio>
#include <cstdlib>

namespace Baseline {

U8 narrow(const View& v) {
  return narrowInline(v);
}
void narrowIs(View& v, U8 value) {
  narrowIsInline(v, value);
}
U16 straddle(const View& v) {
  return straddleInline(v);
}
void straddleIs(View& v, U16 value) {
  straddleIsInline(v, value);
}
U64 wide(const View& v) {
  return wideInline(v);
}
void wideIs(View& v, U64 value) {
  wideIsInline(v, value);
}
Raw128 raw(const View& v) {
  return rawInline(v);
}
void rawIs(View& v, const Raw128& value) {
  rawIsInline(v, value);
}

namespace {
const U16 kNoLevels = 0;
// Writes something, so that the compiler can't drop the test in front of it.
[[gnu::cold, gnu::noinline]] void traceLine() {
  std::fputs("trace\n", stderr);
}
}  // namespace

const U16* traceMask = &kNoLevels;

U8 narrowChecked(const CheckedView& v) {
  if (*traceMask & 0x100) traceLine();
  if (v.chipType != 17 || v.variant != 0 || v.len < 2) std::abort();
  return static_cast<U8>(v.buf[1] & 0x3f);
}

void narrowIsChecked(CheckedView& v, U8 value) {
  if (*traceMask & 0x100) traceLine();
  if (v.chipType != 17 || v.variant != 0 || v.len < 2 || value > 0x3f) std::abort();
  v.buf[1] = static_cast<U8>((v.buf[1] & ~0x3f) | value);
}

}  // namespace Baseline
