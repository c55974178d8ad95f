// The road of one request: set the scan enable vector of instance 2 of a
// BCM88860_A0, by name, as a program that drives the switch would.
//
// Built against the installed package with CMake (CMakeLists.txt beside it,
// find_package) or with pkg-config:
//   c++ -std=c++17 main.cpp $(pkg-config --cflags --libs TesselCountersOrrery)
#include <TesselCountersOrrery.h>

#include <cstdio>

int main() {
  using Hardware::ChipType;
  const ChipType chip = ChipType::BCM88860_A0;

  // 1. Does the register exist there?
  if (!Hardware::chipTypeVariantValid("CrpsEngineScanEnable", chip, 0)) return 1;

  // 2. An accessor with a buffer of its own, by class name.
  auto reg = Hardware::stringObj("CrpsEngineScanEnable", chip, 0);

  // 3. Where on the S-channel instance 2 lies.
  U32 address = 0, subBlock = 0, block = 0;
  if (!reg->getSchanAddress(address, subBlock, block, 2, 0, 0)) return 1;

  // 4. How much to move, and 5. the field, by name.
  reg->stringFieldIs("engineScanEnable", 0xf0f0f0f0);
  std::printf("address %u subBlock %u block %u words %u value 0x%llx\n", address, subBlock, block,
              reg->width(),
              static_cast<unsigned long long>(reg->stringField("engineScanEnable", 0)));
  return address == 540 && subBlock == 0 && block == 617 && reg->width() == 1 ? 0 : 1;
}
