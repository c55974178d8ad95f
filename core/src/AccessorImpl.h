// Fatal checks and trace lines of the accessor functions. Internal to the
// library: the generated sources and the core use these macros only.
#pragma once

#include <Orrery/Assert.h>
#include <TesselCounters/AccessorBase.h>

#include <cstring>

// The source unit that traces and assertions name.
#define TC_UNIT "TesselCountersMetaInfo"

// Plain assertion: the platform's assertion failure with the condition's text.
// Not affected by NDEBUG.
#define TC_ASSERT(cond)                                                 \
  do {                                                                  \
    if (!(cond)) ::Orrery::assertionFailure(#cond, TC_UNIT, __LINE__, __PRETTY_FUNCTION__); \
  } while (0)

// Message assertion: the message goes to stderr through the helper first,
// then the platform's assertion failure follows with the quoted condition
// compared to a null pointer.
#define TC_SASSERT(cond, message)                                                   \
  do {                                                                              \
    if (!(cond)) {                                                                  \
      {                                                                             \
        ::Wisp::SassertHelper tcSassert_(#cond);                                    \
        tcSassert_.stream() message;                                                \
      }                                                                             \
      ::Orrery::assertionFailure("\"" #cond "\" == nullptr", TC_UNIT, __LINE__, __PRETTY_FUNCTION__); \
    }                                                                               \
  } while (0)

#define TC_TRACE_ON(level) \
  (::TesselCounters::_defaultTraceHandle().facility().isOn(level))

#define TC_TRACE_OPEN(level, function)                                                         \
  ::Wisp::TraceHelper tcTrace_(::TesselCounters::_defaultTraceHandle(),                        \
                               ::Wisp::TraceFacility::FacilityLevel(level), TC_UNIT, __LINE__, \
                               function)

// Entry line: "<signature> chipType: <chip> variant: <variant>".
#define TC_TRACE(level, function, signature, chip, var)                                   \
  do {                                                                                    \
    if (TC_TRACE_ON(level)) {                                                             \
      TC_TRACE_OPEN(level, function);                                                     \
      tcTrace_.stream() << signature << " chipType: " << (chip) << " variant: " << (var); \
    }                                                                                     \
  } while (0)

// Entry line of hasIdentifier, which adds the identifier.
#define TC_TRACE_ID(level, function, signature, chip, var, id)                           \
  do {                                                                                   \
    if (TC_TRACE_ON(level)) {                                                            \
      TC_TRACE_OPEN(level, function);                                                    \
      tcTrace_.stream() << signature << " chipType: " << (chip) << " variant: " << (var) \
                        << " identifier: " << (id);                                      \
    }                                                                                    \
  } while (0)

// Level 0 line of a getSchanAddress that found no such chip and variant.
#define TC_TRACE_FAILED(function, signature, chip, var)                                  \
  do {                                                                                   \
    if (TC_TRACE_ON(0)) {                                                                \
      TC_TRACE_OPEN(0, function);                                                        \
      tcTrace_.stream() << signature << " chipType: " << (chip) << " variant: " << (var) \
                        << " failed.";                                                   \
    }                                                                                    \
  } while (0)

// Constructor line: "<class> chipType: <chip name> variant: <variant>".
#define TC_TRACE_CTOR(className, text, var)    \
  do {                                         \
    if (TC_TRACE_ON(8)) {                      \
      TC_TRACE_OPEN(8, className);             \
      tcTrace_.stream() << text << (var);      \
    }                                          \
  } while (0)

namespace TesselCounters {

inline Orrery::ChipAndVariant chipAndVariant(U8 chipType, U8 variant) {
  return Orrery::ChipAndVariant{static_cast<Hardware::ChipType>(chipType), variant};
}

// 64-bit word number `word` of a raw value, low byte first.
inline U64 rawWord(const U8* bytes, U16 word) {
  U64 value;
  std::memcpy(&value, bytes + 8 * word, sizeof(value));
  return value;
}

}  // namespace TesselCounters
