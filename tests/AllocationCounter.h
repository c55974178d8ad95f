// Replaces the global allocation functions of a test program to count every
// allocation, so a test can show that a call allocates nothing (or once).
// Include it in exactly one source file of a test program.
#pragma once

// The replacements below pair new with malloc and delete with free on
// purpose; the compiler's pairing check doesn't apply to them.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"

#include <atomic>
#include <cstdlib>
#include <new>

namespace tc {
inline std::atomic<long> allocationCounter{0};
// Allocations made by the program so far.
inline long allocations() {
  return allocationCounter.load();
}
}  // namespace tc

void* operator new(std::size_t n) {
  tc::allocationCounter.fetch_add(1);
  if (void* p = std::malloc(n ? n : 1)) return p;
  throw std::bad_alloc();
}
void operator delete(void* p) noexcept {
  std::free(p);
}
void operator delete(void* p, std::size_t) noexcept {
  std::free(p);
}
