// The checking layer of the tool and the Python module: what the user names
// (a chip, a class, a variant, a field, an index) checked against the model
// before anything is asked of the library, so that the library's own fatal
// checks are never reached.
#pragma once

#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "Args.h"
#include "Catalogue.h"
#include "Fields.h"

namespace Tool {

// A chip by name, in any case, or by number, decimal or 0x hex.
Hardware::ChipType parseChip(const std::string& text);

// The class name, or a UsageError naming a close one and `lister`, what lists
// the classes ("'tessel-counters classes'").
std::string parseClass(const std::string& text,
                       const std::string& lister = "'tessel-counters classes'");

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
// The fields of the target (as fieldsOf orders them).
std::vector<Field> fieldsOf(const Target& target);

// An entry of `count` bytes (or words, with `unit` "word"), called `what` in
// messages, for the target: at most the entry's size, or with `exact` just that.
void checkLength(const Target& target, std::size_t count, const std::string& what, bool exact,
                 const std::string& unit = "byte");
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

// A field of the target by accessor or hardware name; a UsageError names
// what is wrong (no such field, or absent on this chip or variant).
Field findField(const Target& target, const std::string& name);

// Refuses `field` when it is one of `given` or shares bits with one of them.
void checkDistinct(const std::vector<Field>& given, const Field& field);

// Writes a checked value (at most `field.width` bits) into the target's buffer.
void writeField(Target& target, const Field& field, const std::vector<U8>& value);

}  // namespace Tool
