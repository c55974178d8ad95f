// Larch stand-in: a tracking allocator over the slab allocator.
#pragma once

#include <Fennel/Slab.h>
#include <Hardware/Types.h>

#include <atomic>
#include <cstddef>
#include <new>
#include <typeinfo>

namespace Larch {

// Keeps a count of what one allocator type has handed out.
class MemTrack {
 public:
  class Impl {
   public:
    void alloc(void** p, const std::type_info& type, U32 elementSize, U32 count);
    void dealloc(void* p, U32 count);

    U64 allocations() const { return allocations_.load(); }
    U64 deallocations() const { return deallocations_.load(); }
    U64 liveElements() const { return liveElements_.load(); }
    const std::type_info* type() const { return type_.load(); }

   private:
    std::atomic<U64> allocations_{0};
    std::atomic<U64> deallocations_{0};
    std::atomic<U64> liveElements_{0};
    std::atomic<const std::type_info*> type_{nullptr};
  };

  Impl& impl() { return impl_; }
  const Impl& impl() const { return impl_; }

 private:
  Impl impl_;
};

template <typename T>
class Allocator {
 public:
  using value_type = T;

  Allocator() noexcept = default;
  template <typename U>
  Allocator(const Allocator<U>&) noexcept {}  // NOLINT(google-explicit-constructor)

  T* allocate(std::size_t n) {
    // T is often a pointer (the bucket arrays of a hash map): sizeof(T) is meant.
    const auto elementSize = static_cast<U32>(sizeof(T));  // NOLINT(bugprone-sizeof-expression)
    void* p = Fennel::slabAllocOrStdMalloc(static_cast<U32>(n) * elementSize);
    if (p == nullptr) throw std::bad_alloc();
    tracker_.impl().alloc(&p, typeid(T), elementSize, static_cast<U32>(n));
    return static_cast<T*>(p);
  }

  void deallocate(T* p, std::size_t n) noexcept {
    tracker_.impl().dealloc(p, static_cast<U32>(n));
    Fennel::slabFreeOrStdFree(p, typeid(T));
  }

  template <typename U>
  bool operator==(const Allocator<U>&) const noexcept {
    return true;
  }
  template <typename U>
  bool operator!=(const Allocator<U>&) const noexcept {
    return false;
  }

  static MemTrack& tracker() { return tracker_; }

 private:
  static MemTrack tracker_;
};

template <typename T>
MemTrack Allocator<T>::tracker_;

}  // namespace Larch
