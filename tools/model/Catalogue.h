// What exists in the catalogue, read from the description the library
// publishes: chips, classes, the chips and variants of each class, and the
// fields of each class. Nothing here asks the library by trial.
#pragma once

#include <TesselCountersOrrery.h>

#include <string>
#include <vector>

namespace Tool {

std::vector<Hardware::ChipType> knownChips();
// The chip's name, or "chip N" for a number that names no chip.
std::string chipName(Hardware::ChipType chip);
bool isKnownChip(Hardware::ChipType chip);
std::string chipList();  // "BCM88690_B0, BCM88800_A0, ..."

std::vector<std::string> classNames();  // ASCII order
// The class of that name, or nullptr.
const Hardware::ClassDescription* describedClass(const std::string& cls);
// The class of that name; the name must be one of classNames().
const Hardware::ClassDescription& classOf(const std::string& cls);

const char* kindName(Hardware::ClassKind kind);  // "register" or "memory"
bool isMemory(const std::string& cls);

std::vector<U8> variantsOf(const std::string& cls, Hardware::ChipType chip);
std::vector<Hardware::ChipType> chipsOf(const std::string& cls);
std::string chipsOfClass(const std::string& cls);          // "BCM88850_A0, BCM88859_A2"
std::string variantText(const std::vector<U8>& variants);  // "0-7, 16"

// Every identifier that names a field of some class, ascending.
const std::vector<U32>& allFieldIds();

// The identifier of the field of any class whose accessor or hardware name
// is `name`, or 0.
U32 fieldIdNamed(const std::string& name);

// The class's field with that identifier, or nullptr.
const Hardware::FieldDescription* describedField(const std::string& cls, U32 id);
// The class's field whose accessor or hardware name is `name`, or nullptr.
const Hardware::FieldDescription* describedField(const std::string& cls, const std::string& name);

// Whether the field's value type is a raw bit array (wider than 64 bits on
// some chip and variant of the class): such a field is neither read nor
// written as one number by the library.
bool isRawField(const std::string& cls, U32 id);

}  // namespace Tool
