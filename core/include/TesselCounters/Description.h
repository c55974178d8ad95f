// What the catalogue holds, as constant data: the chips, and for every
// accessor class its name, kind, subsystem and summary, the chips and
// variants where it exists, and its fields with their value types.
//
// This tells what exists, so that a program can list it without probing;
// offsets, widths, geometry and addresses are the accessors' own answers.
// The tables are constant-initialised: reading them allocates nothing,
// builds nothing and never stops.
#pragma once

#include <Hardware/Types.h>
#include <TesselCounters/FieldIds.h>

namespace Hardware {

struct ChipDescription {
  ChipType chip;
  const char* name;  // "BCM88690_B0"
};

enum class ClassKind : U8 { Register, Memory };

// The type of a field's value in its typed accessors: an unsigned integer of
// 8 to 64 bits, or a raw bit array of 128 to 512 bits.
enum class FieldType : U8 { U8, U16, U32, U64, Raw128, Raw256, Raw512 };

// Whether values of the type are raw bit arrays, neither read nor written as
// one number.
constexpr bool isRawType(FieldType type) {
  return type == FieldType::Raw128 || type == FieldType::Raw256 || type == FieldType::Raw512;
}

struct FieldDescription {
  U32 id;  // as in FieldIds
  FieldType type;

  const char* accessorName() const { return fieldIdAccessorName(id); }  // "engineNMode"
  const char* hardwareName() const { return fieldIdName(id); }          // "ENGINE_N_MODE"
};

// One chip and variant on which a class exists.
struct ChipVariant {
  ChipType chip;
  U8 variant;
};

struct ClassDescription {
  const char* name;       // "CrpsEngineCfg"
  ClassKind kind;
  const char* subsystem;  // "crps", "ingress", "egress" or "status"
  const char* summary;    // one line: what the class holds
  const char* variants;   // one line: what each variant stands for; "" with variant 0 alone
  const ChipVariant* pairs;  // by chip number, then variant
  U32 pairCount;
  const FieldDescription* fields;  // every field of the class on any chip, by identifier
  U32 fieldCount;
};

struct CatalogueDescription {
  const ChipDescription* chips;  // by chip number
  U32 chipCount;
  const ClassDescription* classes;  // in ASCII order of their names
  U32 classCount;
  const char* version;  // the library's, "1.0.0"
};

// The whole catalogue.
const CatalogueDescription& catalogueDescription();

// The class called `name`, or nullptr if no class has that name.
const ClassDescription* findClassDescription(const char* name);

}  // namespace Hardware
