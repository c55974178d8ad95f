// Types library stand-in: fixed-width integers, raw bit arrays and chip numbers.
#pragma once

#include <array>
#include <cstdint>
#include <iosfwd>

using U8 = std::uint8_t;
using U16 = std::uint16_t;
using U32 = std::uint32_t;
using U64 = std::uint64_t;
using S32 = std::int32_t;

// Raw bit arrays: bit k is bit (k mod 8), from the low end, of byte k / 8.
using Raw128 = std::array<U8, 16>;
using Raw256 = std::array<U8, 32>;
using Raw512 = std::array<U8, 64>;
using Raw1024 = std::array<U8, 128>;
using Raw8192 = std::array<U8, 1024>;

namespace Hardware {

// One-byte chip model number. Numbers that are not listed are chips this
// types library knows nothing about; they stream as their number.
enum class ChipType : U8 {
  BCM88690_B0 = 10,
  BCM88800_A0 = 11,
  BCM88850_A0 = 12,
  BCM88859_A2 = 14,
  BCM88480_A0 = 15,
  BCM88480_B0 = 16,
  BCM88860_A0 = 17,
  BCM88867_C0 = 20,
  BCM88890_A0 = 21,
  BCM88890_B0 = 23,
  BCM88897_C0 = 24,
  BCM88490_A0 = 25,
  BCM88870_A0 = 26,
};

// Text of a chip ("BCM88690_B0"), or nullptr for a number without a name.
const char* chipTypeName(ChipType chipType);

// Writes the chip's name, or "ChipType(<number>)" for an unnamed number.
std::ostream& operator<<(std::ostream& os, const ChipType& chipType);

}  // namespace Hardware
