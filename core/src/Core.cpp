#include <TesselCounters/AccessorBase.h>

#include <ostream>

namespace TesselCounters {

Wisp::TraceHandle& _defaultTraceHandle() {
  // Never destroyed: accessors may trace from static destructors of their callers.
  static Wisp::TraceHandle* handle = new Wisp::TraceHandle(kTraceHandleName, false);
  return *handle;
}

}  // namespace TesselCounters

namespace Hardware {

std::ostream& operator<<(std::ostream& os, const Orrery::ChipAndVariant& chipAndVariant) {
  return os << " chipType: " << chipAndVariant.chipType
            << " variant: " << static_cast<unsigned>(chipAndVariant.variant);
}

}  // namespace Hardware
