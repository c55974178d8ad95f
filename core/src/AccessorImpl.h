// Fatal checks and the trace level test, internal to the library.
#pragma once

#include <Orrery/Assert.h>
#include <TesselCounters/AccessorBase.h>

#include <atomic>
#include <string_view>

// The source unit that traces and assertions name.
#define TC_UNIT "TesselCountersMetaInfo"

// Plain assertion: the platform's assertion failure with the condition's text.
// Not affected by NDEBUG.
#define TC_ASSERT(cond)                                                                      \
  do {                                                                                       \
    if (!(cond)) ::Orrery::assertionFailure(#cond, TC_UNIT, __LINE__, __PRETTY_FUNCTION__); \
  } while (0)

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

inline Orrery::ChipAndVariant chipAndVariant(U8 chipType, U8 variant) {
  return Orrery::ChipAndVariant{static_cast<Hardware::ChipType>(chipType), variant};
}

}  // namespace TesselCounters
