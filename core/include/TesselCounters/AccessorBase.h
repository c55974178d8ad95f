// What every accessor class of the library builds on: the platform's root
// classes, the table base of all memories, the trace handle, and the stream
// form of a (chip, variant) pair.
#pragma once

#include <Hardware/Types.h>
#include <Larch/String.h>
#include <Orrery/AsicBase.h>
#include <Orrery/BcmAsicBase.h>
#include <Orrery/Bits.h>
#include <Orrery/Types.h>
#include <Wisp/Trace.h>

#include <iosfwd>

namespace TesselCounters {

// Base of all memory accessors: adds the two lowest table coordinates.
class TesselCountersAsicTableBase : public Orrery::BcmAsicBase {
 public:
  using Orrery::BcmAsicBase::BcmAsicBase;

  virtual U32 index_min() const = 0;
  virtual U32 arrayIndex_min() const = 0;
};

// Name of the library's one trace handle.
constexpr const char* kTraceHandleName = "OrreryTesselCountersMetaInfo";

// The library's one trace handle, built on first use and never destroyed.
Wisp::TraceHandle& _defaultTraceHandle();

}  // namespace TesselCounters

namespace Hardware {

// Writes " chipType: <chip> variant: <variant>", without a line end.
std::ostream& operator<<(std::ostream& os, const Orrery::ChipAndVariant& chipAndVariant);

}  // namespace Hardware
