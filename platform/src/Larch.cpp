#include <Larch/Allocator.h>
#include <Larch/String.h>

#include <ostream>

namespace Larch {

std::ostream& operator<<(std::ostream& os, const String& s) {
  return os << s.view();
}

void MemTrack::Impl::alloc(void** p, const std::type_info& type, U32 elementSize, U32 count) {
  (void)p;
  (void)elementSize;
  type_.store(&type);
  allocations_.fetch_add(1);
  liveElements_.fetch_add(count);
}

void MemTrack::Impl::dealloc(void* p, U32 count) {
  (void)p;
  deallocations_.fetch_add(1);
  liveElements_.fetch_sub(count);
}

}  // namespace Larch
