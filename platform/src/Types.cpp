#include <Hardware/Types.h>

#include <ostream>

namespace Hardware {

const char* chipTypeName(ChipType chipType) {
  switch (chipType) {
    case ChipType::BCM88690_B0:
      return "BCM88690_B0";
    case ChipType::BCM88800_A0:
      return "BCM88800_A0";
    case ChipType::BCM88850_A0:
      return "BCM88850_A0";
    case ChipType::BCM88859_A2:
      return "BCM88859_A2";
    case ChipType::BCM88480_A0:
      return "BCM88480_A0";
    case ChipType::BCM88480_B0:
      return "BCM88480_B0";
    case ChipType::BCM88860_A0:
      return "BCM88860_A0";
    case ChipType::BCM88867_C0:
      return "BCM88867_C0";
    case ChipType::BCM88890_A0:
      return "BCM88890_A0";
    case ChipType::BCM88890_B0:
      return "BCM88890_B0";
    case ChipType::BCM88897_C0:
      return "BCM88897_C0";
    case ChipType::BCM88490_A0:
      return "BCM88490_A0";
    case ChipType::BCM88870_A0:
      return "BCM88870_A0";
  }
  return nullptr;
}

std::ostream& operator<<(std::ostream& os, const ChipType& chipType) {
  if (const char* name = chipTypeName(chipType)) return os << name;
  return os << "ChipType(" << static_cast<unsigned>(chipType) << ")";
}

}  // namespace Hardware
