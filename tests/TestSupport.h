// Helpers shared by the tests: regular expressions for the exact texts of the
// fatal checks, chip lists, and buffers.
#pragma once

#include <TesselCountersOrrery.h>
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <random>
#include <string>
#include <vector>

namespace tc {

inline std::string escapeRegex(const std::string& text) {
  std::string out;
  for (char c : text) {
    if (std::strchr(".[]{}()\\*+?^$|", c) != nullptr) out += '\\';
    out += c;
  }
  return out;
}

// What the platform prints for a plain assertion with this expression text.
inline std::string assertion(const std::string& expression) {
  return "Assertion `" + escapeRegex(expression) + "' failed";
}

// A message assertion: the message on stderr, then the platform's failure of
// the quoted condition compared to a null pointer.
inline std::string messageAssertion(const std::string& message,
                                    const std::string& condition = "0") {
  return escapeRegex(message) + "\n.*Assertion `" +
         escapeRegex("\"" + condition + "\" == nullptr") + "' failed";
}

using Hardware::ChipType;

inline const std::vector<ChipType>& allChips() {
  static const std::vector<ChipType> chips = {
      ChipType::BCM88690_B0, ChipType::BCM88800_A0, ChipType::BCM88850_A0, ChipType::BCM88859_A2,
      ChipType::BCM88480_A0, ChipType::BCM88480_B0, ChipType::BCM88860_A0, ChipType::BCM88867_C0,
      ChipType::BCM88890_A0, ChipType::BCM88890_B0, ChipType::BCM88897_C0, ChipType::BCM88490_A0,
      ChipType::BCM88870_A0};
  return chips;
}

inline U32 num(ChipType c) {
  return static_cast<U32>(c);
}

// Chip groups of the register sheets.
inline std::vector<ChipType> chips88480x() {
  return {ChipType::BCM88480_A0, ChipType::BCM88480_B0};
}
inline std::vector<ChipType> chips88860x() {
  return {ChipType::BCM88860_A0, ChipType::BCM88867_C0, ChipType::BCM88890_A0,
          ChipType::BCM88890_B0, ChipType::BCM88897_C0, ChipType::BCM88870_A0};
}

// A buffer of random bytes, the same for the same seed.
inline std::vector<U8> randomBytes(std::size_t n, unsigned seed = 1) {
  std::mt19937 gen(seed);
  std::vector<U8> out(n);
  for (auto& b : out) b = static_cast<U8>(gen());
  return out;
}

inline bool bitOf(const std::vector<U8>& buf, unsigned bit) {
  return (buf[bit / 8] >> (bit % 8)) & 1;
}

// Number of bits in which the two buffers differ outside [offset, offset + width).
inline unsigned changedOutside(const std::vector<U8>& a, const std::vector<U8>& b, unsigned offset,
                               unsigned width) {
  unsigned n = 0;
  for (unsigned bit = 0; bit < 8 * a.size(); ++bit)
    if ((bit < offset || bit >= offset + width) && bitOf(a, bit) != bitOf(b, bit)) ++n;
  return n;
}

}  // namespace tc

#define EXPECT_ASSERTION(statement, expression) EXPECT_DEATH(statement, ::tc::assertion(expression))
#define EXPECT_MESSAGE_ASSERTION(statement, message, condition) \
  EXPECT_DEATH(statement, ::tc::messageAssertion(message, condition))
