// Larch stand-in: the string type of all name parameters.
#pragma once

#include <cstddef>
#include <cstring>
#include <iosfwd>
#include <string_view>

// std::hash and std::equal_to, without the rest of <functional>, which would
// be most of what every accessor's source reads. The byte hash below is the
// standard library's own already.
#include <bits/functional_hash.h>
#include <bits/stl_function.h>

namespace Larch {
namespace Impl {

// Keeps up to kInline characters in the object itself, so that copying the
// name of any accessor class or field allocates nothing.
class StrB {
 public:
  static constexpr std::size_t kInline = 71;

  StrB(const char* text) { assign(text ? text : "", text ? std::strlen(text) : 0); }  // NOLINT
  StrB(std::string_view text) { assign(text.data(), text.size()); }                   // NOLINT
  StrB(const StrB& other) { assign(other.data(), other.size_); }
  StrB& operator=(const StrB& other) {
    if (this != &other) {
      release();
      assign(other.data(), other.size_);
    }
    return *this;
  }
  ~StrB() { release(); }

  std::string_view view() const { return std::string_view(data(), size_); }

  // Exact comparison: case matters, no prefix match.
  bool operator==(const char* other) const {
    const std::size_t n = std::strlen(other);
    return n == size_ && std::memcmp(data(), other, n) == 0;
  }
  bool operator==(const StrB& other) const { return view() == other.view(); }
  bool operator!=(const char* other) const { return !(*this == other); }

 private:
  const char* data() const { return heap_ ? heap_ : inline_; }
  void assign(const char* text, std::size_t n) {
    size_ = n;
    char* dst = inline_;
    if (n > kInline) dst = heap_ = new char[n + 1];
    std::memcpy(dst, text, n);
    dst[n] = '\0';
  }
  void release() {
    delete[] heap_;
    heap_ = nullptr;
  }

  std::size_t size_ = 0;
  char* heap_ = nullptr;
  char inline_[kInline + 1] = {};
};

}  // namespace Impl

class String : public Impl::StrB {
 public:
  using Impl::StrB::StrB;
};

std::ostream& operator<<(std::ostream& os, const String& s);

}  // namespace Larch

using String = Larch::String;

template <>
struct std::hash<Larch::String> {
  // The standard library's byte hash over the string's bytes, with its usual seed.
  std::size_t operator()(const Larch::String& s) const noexcept {
    const std::string_view v = s.view();
    return std::_Hash_bytes(v.data(), v.size(), static_cast<std::size_t>(0xc70f6907UL));
  }
};

template <>
struct std::equal_to<Larch::String> {
  bool operator()(const Larch::String& a, const Larch::String& b) const { return a == b; }
};
