// locate: what lies at an S-channel address, for the tool and the Python module.
#pragma once

#include <string>
#include <vector>

#include "AddressIndex.h"
#include "Args.h"
#include "ModelJson.h"

namespace Tool {

// A checked lookup: the chip, block and address as the user wrote them (no
// address: 0, for a block's map), and the sub-block if given (null
// otherwise). Bad input is a UsageError.
struct LocateQuery {
  Hardware::ChipType chip;
  U32 block;
  U32 address;
  bool anySubBlock;
  U32 subBlock;

  std::vector<Location> run() const;
};
LocateQuery parseLocate(const std::string& chip, const std::string& block,
                        const std::string* address, const std::string* subBlock);

// "CrpsEngineCfg variant 0, instance 1, sub-block 0, element 2[, entry 5]"
std::string matchText(const Location& location);

// A match as JSON and the module give it: "class", "variants", "instance",
// "subBlock", "arrayElement" and "tableEntry".
Json locationJson(const Location& location);

}  // namespace Tool
