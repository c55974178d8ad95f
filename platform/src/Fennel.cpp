#include <Fennel/Slab.h>

#include <atomic>
#include <cstdlib>

namespace Fennel {
namespace {
std::atomic<U64> failAt{0};
std::atomic<U64> live{0};
std::atomic<U64> total{0};
}  // namespace

void* slabAllocOrStdMalloc(U32 bytes) {
  U64 n = failAt.load();
  while (n != 0) {
    if (failAt.compare_exchange_weak(n, n - 1)) {
      if (n == 1) return nullptr;
      break;
    }
  }
  void* p = std::malloc(bytes == 0 ? 1 : bytes);
  if (p != nullptr) {
    live.fetch_add(1);
    total.fetch_add(1);
  }
  return p;
}

void slabFreeOrStdFree(void* p, const std::type_info& type) {
  (void)type;
  if (p == nullptr) return;
  live.fetch_sub(1);
  std::free(p);
}

namespace Testing {
void failAllocationNumber(U64 n) {
  failAt.store(n);
}
U64 liveAllocations() {
  return live.load();
}
U64 allocationCount() {
  return total.load();
}
}  // namespace Testing

}  // namespace Fennel
