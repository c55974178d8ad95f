// The catalogue as the library answers it: every class on every chip and
// variant where it exists, with its geometry, block instances, addresses and
// fields. What exists comes from the library's description; every number from
// the accessors' public queries, each asked where it can't stop. The tool's
// commands, the Python module and the reference site read this one model.
#pragma once

#include <string>
#include <vector>

#include "Catalogue.h"
#include "Fields.h"
namespace Tool {

// One block instance of a class on a chip and variant.
struct Instance {
  U16 identifier;
  U32 subBlock;
  U32 block;
  U32 firstAddress;  // entry 0 of array element 0
  U32 lastAddress;   // last entry of the last array element
};

// One class on one chip and variant.
struct Layout {
  Hardware::ChipType chip;
  U8 variant;
  U16 widthWords;
  U16 fieldCount;  // the library's count of the fields valid here
  U32 arrayElements;
  U32 elementStride;      // address step from one array element to the next; 0 with one
  U32 entries;            // table entries of a memory; 1 for a register
  U32 tableVariantCount;  // memories; 0 for a register
  std::vector<Instance> instances;
  std::vector<Field> fields;     // as fieldsOf orders them
  std::vector<FieldView> views;  // views[i] belongs to fields[i]
};

// A class and all its layouts, by chip number, then variant.
struct ClassModel {
  std::string name;
  bool memory;
  std::vector<Layout> layouts;

  // The variants of the class on a chip, from its layouts.
  std::vector<U8> variantsOn(Hardware::ChipType chip) const;
  const Layout* find(Hardware::ChipType chip, U8 variant) const;
};

std::vector<Instance> instancesOf(const Orrery::AsicBase& object);

// The layout of the object (of class `cls`) on its chip and variant, with the
// fields among `fieldIds` (views and overlaps among those alone).
Layout layoutOf(const std::string& cls, const Orrery::AsicBase& object,
                const std::vector<U32>& fieldIds = allFieldIds());

// The class on the given chips (all known chips if `chips` is empty); a class
// on none of them has no layouts.
ClassModel classModel(const std::string& cls, const std::vector<Hardware::ChipType>& chips,
                      const std::vector<U32>& fieldIds = allFieldIds());

// Every class with a layout on one of the chips (all if empty), by name.
std::vector<ClassModel> catalogueModel(const std::vector<Hardware::ChipType>& chips,
                                       const std::vector<U32>& fieldIds = allFieldIds());

// "BCM88690_B0, BCM88860_A0 v0-3": chips of a set of a class's layouts;
// a chip whose every variant of the class is in the set goes by name alone.
std::string layoutsText(const ClassModel& cls, const std::vector<const Layout*>& layouts);

}  // namespace Tool
