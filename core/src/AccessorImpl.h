// Fatal checks and trace lines of the accessor functions. Internal to the
// library: the generated sources and the core use these macros only.
#pragma once

#include <Orrery/Assert.h>
#include <TesselCounters/AccessorBase.h>

#include <atomic>
#include <cstring>
#include <string_view>

// The source unit that traces and assertions name.
#define TC_UNIT "TesselCountersMetaInfo"

// Plain assertion: the platform's assertion failure with the condition's text.
// Not affected by NDEBUG.
#define TC_ASSERT(cond) TC_ASSERT_IN(cond, __PRETTY_FUNCTION__)

// The same, for code that runs on behalf of the function `function` names.
#define TC_ASSERT_IN(cond, function)                                               \
  do {                                                                             \
    if (!(cond)) ::Orrery::assertionFailure(#cond, TC_UNIT, __LINE__, (function)); \
  } while (0)

// The path of a call that is traced or fails a check, kept out of line and
// apart from the path of a call that passes.
#define TC_SLOW_PATH __attribute__((noinline, cold))

// Inlines what a function calls, so that access by identifier reaches the
// typed accessor's checks and bit copy without a second call. Not in a build
// for a sanitizer: there the instrumented copies of hundreds of setters in
// one function take minutes to compile, and the code is the same either way.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
#define TC_FLATTEN
#else
#define TC_FLATTEN __attribute__((flatten))
#endif

// Message assertion: the message goes to stderr through the helper first,
// then the platform's assertion failure follows with the quoted condition
// compared to a null pointer.
#define TC_SASSERT(cond, message)                                               \
  do {                                                                          \
    if (!(cond)) {                                                              \
      {                                                                         \
        ::Wisp::SassertHelper tcSassert_(#cond);                                \
        tcSassert_.stream() message;                                            \
      }                                                                         \
      ::Orrery::assertionFailure("\"" #cond "\" == nullptr", TC_UNIT, __LINE__, \
                                 __PRETTY_FUNCTION__);                          \
    }                                                                           \
  } while (0)

// Trace lines. A traced function pays, while its level is off, one test of the
// level mask: the mask is read through traceFacility, which the handle's
// first use points at the handle's own facility. Until then it points at a
// facility with every level on, so that the first test of any level lands in
// the out-of-line writer, which builds the handle and asks it again. The line
// itself is built out of line too, so that no caller carries its stack frame.
#define TC_TRACE_ON(level)                                                                        \
  (__builtin_expect(::TesselCounters::traceFacility.load(std::memory_order_acquire)->isOn(level), \
                    0))

// Entry line: "<signature> chipType: <chip> variant: <variant>".
#define TC_TRACE(level, function, signature, chip, var)                                  \
  do {                                                                                   \
    if (TC_TRACE_ON(level))                                                              \
      ::TesselCounters::traceEntry(level, __LINE__, function, signature, (chip), (var)); \
  } while (0)

// Entry line of hasIdentifier, which adds " identifier: <identifier>".
#define TC_TRACE_ID(level, function, signature, chip, var, id)                                   \
  do {                                                                                           \
    if (TC_TRACE_ON(level))                                                                      \
      ::TesselCounters::traceEntryId(level, __LINE__, function, signature, (chip), (var), (id)); \
  } while (0)

// Level 0 line of a getSchanAddress that found no such chip and variant.
#define TC_TRACE_FAILED(function, signature, chip, var)                            \
  do {                                                                             \
    if (TC_TRACE_ON(0))                                                            \
      ::TesselCounters::traceFailed(__LINE__, function, signature, (chip), (var)); \
  } while (0)

// Constructor line: "<class> chipType: <chip name> variant: <variant>".
#define TC_TRACE_CTOR(className, text, var)                                            \
  do {                                                                                 \
    if (TC_TRACE_ON(8)) ::TesselCounters::traceCtor(__LINE__, className, text, (var)); \
  } while (0)

#define TC_INTERNAL __attribute__((visibility("hidden")))
#define TC_COLD __attribute__((visibility("hidden"), cold, noinline))

namespace TesselCounters {

// The facility whose mask the trace tests read (see TC_TRACE_ON).
extern TC_INTERNAL std::atomic<const Wisp::TraceFacility*> traceFacility;

// Each writes one line if its level is on in the handle, which it builds on
// first use. `line` is where the trace stands in the caller.
TC_COLD void traceEntry(unsigned level, int line, const char* function, const char* signature,
                        U32 chip, U32 variant);
TC_COLD void traceEntryId(unsigned level, int line, const char* function, const char* signature,
                          U32 chip, U32 variant, U32 identifier);
TC_COLD void traceFailed(int line, const char* function, const char* signature, U32 chip,
                         U32 variant);
TC_COLD void traceCtor(int line, const char* className, const char* text, U32 variant);

}  // namespace TesselCounters

namespace TesselCounters {

inline Orrery::ChipAndVariant chipAndVariant(U8 chipType, U8 variant) {
  return Orrery::ChipAndVariant{static_cast<Hardware::ChipType>(chipType), variant};
}

// Whether a field name given by the caller is the name `text`: the lengths
// first, then the bytes, all inline. Where one function compares a name with
// hundreds of texts, most of them cost one comparison of lengths.
template <std::size_t N>
[[gnu::always_inline]] inline bool nameIs(std::string_view name, const char (&text)[N]) {
  return name.size() == N - 1 && std::memcmp(name.data(), text, N - 1) == 0;
}

// Chip and variant as one number, for a switch over both at once.
inline unsigned chipVariantKey(U8 chipType, U8 variant) {
  return static_cast<unsigned>(chipType) | static_cast<unsigned>(variant) << 8;
}

// Whether bit `key` (below 64) is set in `keys`: one bit test.
inline bool keyIn(unsigned key, U64 keys) {
  return (keys >> key) & 1;
}

// 64-bit word number `word` of a raw value, low byte first.
inline U64 rawWord(const U8* bytes, U16 word) {
  U64 value;
  std::memcpy(&value, bytes + 8 * word, sizeof(value));
  return value;
}

}  // namespace TesselCounters
