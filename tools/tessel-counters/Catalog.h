// What the library knows, found through its queries that never stop: chips,
// classes, variants, and the fields of one accessor. Every lookup that the
// user's input drives is checked here first, so that the library's own
// fatal checks are never reached.
#pragma once

#include <TesselCountersOrrery.h>

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "Args.h"

namespace Tool {

std::vector<Hardware::ChipType> knownChips();
std::string chipName(Hardware::ChipType chip);
std::string chipList();
Hardware::ChipType parseChip(const std::string& text);

std::vector<std::string> classNames();
// The class name, or a UsageError naming a close one and `lister`, what lists
// the classes ("'tessel-counters classes --chip CHIP'").
std::string parseClass(const std::string& text,
                       const std::string& lister = "'tessel-counters classes --chip CHIP'");

std::vector<U8> variantsOf(const std::string& cls, Hardware::ChipType chip);
std::string chipsOfClass(const std::string& cls);          // "BCM88850_A0, BCM88859_A2"
std::string variantText(const std::vector<U8>& variants);  // "0-7, 16"

// One class on one chip and variant, with an accessor over its own buffer.
struct Target {
  std::string cls;
  Hardware::ChipType chip;
  U8 variant;
  std::shared_ptr<Orrery::AsicBase> object;

  std::string where() const;  // "BCM88690_B0 variant 0"
  unsigned entryBytes() const { return 4u * object->width(); }
};

// CLASS on CHIP, checked before anything is constructed. `variant` is the
// variant as the user wrote it (`option` names it in messages) or null for the
// class's first variant on the chip, which `notes`, if given, is told about
// when the class has several.
Target openTarget(const std::string& cls, Hardware::ChipType chip, const std::string* variant,
                  const std::string& option, std::ostream* notes);

// CLASS --chip C [--variant V] of the command line, through openTarget.
Target resolveTarget(const Args& args);
// The same with the chip and variant from other options ("--to", "--to-variant").
Target resolveTarget(const Args& args, const std::string& chipOption,
                     const std::string& variantOption);

std::string kindOf(const Orrery::AsicBase& object);  // "register" or "memory"

// A buffer of `count` bytes, called `what` in messages, for the target's
// entry: at most the entry's size, or with `exact` just that.
void checkLength(const Target& target, std::size_t count, const std::string& what, bool exact);
// The entry's bytes into the target's buffer, the rest of it cleared.
void loadBuffer(Target& target, const std::vector<U8>& bytes);

// The three indices of an S-channel address and how many the target has of
// each (table entries: 1 for a register).
enum class Index { Instance, Entry, Element };
U32 indexCount(const Orrery::AsicBase& object, Index which);
// `value`, or an OutOfRange error about `given`, the index as the user gave it
// ("--instance 5").
U32 checkIndex(const Target& target, Index which, U64 value, const std::string& given);

struct SchanAddress {
  U32 address = 0, subBlock = 0, block = 0;
};
// The address of an instance, table entry and array element that checkIndex passed.
SchanAddress schanAddress(const Orrery::AsicBase& object, U32 instance, U32 entry, U32 element);

struct Field {
  U32 id;
  U16 offset;
  U16 width;
  std::string name;          // accessor name, "engineNMode"
  std::string hardwareName;  // "ENGINE_N_MODE"
};

// Every identifier that names a field, ascending.
const std::vector<U32>& allFieldIds();

// The fields valid on the target, by offset, wider before narrower; all of
// them, or those among `ids`.
std::vector<Field> fieldsOf(const Orrery::AsicBase& object);
std::vector<Field> fieldsOf(const Orrery::AsicBase& object, const std::vector<U32>& ids);

// A field of the target by accessor or hardware name; a UsageError names
// what is wrong (no such field, or absent on this chip or variant).
Field findField(const Target& target, const std::string& name);

// Refuses `field` when it is one of `given` or shares bits with one of them.
void checkDistinct(const std::vector<Field>& given, const Field& field);

// Whether the field's value type is a raw bit array: true when the field is
// wider than 64 bits on some chip and variant of the class. Such fields are
// neither read nor written as one number by the library.
bool isRawField(const std::string& cls, U32 id);

// The field's value, read through the library, as little-endian bytes.
std::vector<U8> readField(const Orrery::AsicBase& object, const Field& field);

// Writes a checked value (at most `field.width` bits) into the target's buffer.
void writeField(Target& target, const Field& field, const std::vector<U8>& value);

// Ranges "a..b" (or "a") of bits set in `bytes` (bits below `bits`) and clear in `mask`.
std::vector<std::pair<unsigned, unsigned>> strayBits(const U8* bytes, const U8* mask,
                                                     unsigned bits);
std::string rangeText(unsigned first, unsigned last);

}  // namespace Tool
