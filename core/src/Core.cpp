#include <TesselCounters/AccessorBase.h>

#include <ostream>

#include "AccessorImpl.h"

namespace TesselCounters {

namespace {

// Stands for the handle until it is built: every level on, so that the first
// trace test of any level reaches the writers below, which build the handle.
constexpr Wisp::TraceFacility kUnbuiltFacility{0xffff};

Wisp::TraceHandle* buildTraceHandle() {
  Wisp::TraceHandle* handle = new Wisp::TraceHandle(kTraceHandleName, false);
  traceFacility.store(&handle->facility(), std::memory_order_release);
  return handle;
}

}  // namespace

std::atomic<const Wisp::TraceFacility*> traceFacility{&kUnbuiltFacility};

Wisp::TraceHandle& _defaultTraceHandle() {
  // Never destroyed: accessors may trace from static destructors of their callers.
  static Wisp::TraceHandle* handle = buildTraceHandle();
  return *handle;
}

void traceEntry(unsigned level, int line, const char* function, const char* signature, U32 chip,
                U32 variant) {
  Wisp::TraceHandle& handle = _defaultTraceHandle();
  if (!handle.facility().isOn(level)) return;
  Wisp::TraceHelper trace(handle, Wisp::TraceFacility::FacilityLevel(level), TC_UNIT, line,
                          function);
  trace.stream() << signature << " chipType: " << chip << " variant: " << variant;
}

void traceEntryId(unsigned level, int line, const char* function, const char* signature, U32 chip,
                  U32 variant, U32 identifier) {
  Wisp::TraceHandle& handle = _defaultTraceHandle();
  if (!handle.facility().isOn(level)) return;
  Wisp::TraceHelper trace(handle, Wisp::TraceFacility::FacilityLevel(level), TC_UNIT, line,
                          function);
  trace.stream() << signature << " chipType: " << chip << " variant: " << variant
                 << " identifier: " << identifier;
}

void traceFailed(int line, const char* function, const char* signature, U32 chip, U32 variant) {
  Wisp::TraceHandle& handle = _defaultTraceHandle();
  if (!handle.facility().isOn(0)) return;
  Wisp::TraceHelper trace(handle, Wisp::TraceFacility::FacilityLevel(0), TC_UNIT, line, function);
  trace.stream() << signature << " chipType: " << chip << " variant: " << variant << " failed.";
}

void traceCtor(int line, const char* className, const char* text, U32 variant) {
  Wisp::TraceHandle& handle = _defaultTraceHandle();
  if (!handle.facility().isOn(8)) return;
  Wisp::TraceHelper trace(handle, Wisp::TraceFacility::FacilityLevel(8), TC_UNIT, line, className);
  trace.stream() << text << variant;
}

}  // namespace TesselCounters

namespace Hardware {

std::ostream& operator<<(std::ostream& os, const Orrery::ChipAndVariant& chipAndVariant) {
  return os << " chipType: " << chipAndVariant.chipType
            << " variant: " << static_cast<unsigned>(chipAndVariant.variant);
}

}  // namespace Hardware
