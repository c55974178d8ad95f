// Larch stand-in: the string type of all name parameters.
#pragma once

#include <cstddef>
#include <cstring>
#include <functional>
#include <iosfwd>
#include <string>
#include <string_view>

namespace Larch {
namespace Impl {

class StrB {
 public:
  StrB(const char* text) : text_(text ? text : "") {}  // NOLINT(google-explicit-constructor)
  StrB(std::string_view text) : text_(text) {}         // NOLINT(google-explicit-constructor)

  std::string_view view() const { return text_; }

  // Exact comparison: case matters, no prefix match.
  bool operator==(const char* other) const {
    const std::size_t n = std::strlen(other);
    return n == text_.size() && std::memcmp(text_.data(), other, n) == 0;
  }
  bool operator==(const StrB& other) const { return text_ == other.text_; }
  bool operator!=(const char* other) const { return !(*this == other); }

 private:
  std::string text_;
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
