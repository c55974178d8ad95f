// The fatal checks and trace lines of the accessor operations, with the
// operation's name and signature built from the class's tables.
#pragma once

#include "Layout.h"

namespace TesselCounters {

// What the {item} of an operation's shape names: nothing, a field, or an
// indexed accessor.
enum class Item : U8 { None, Field, Indexed };

// What trace lines and fatal checks say of an operation: the parts of its
// signature other than the class. Names and types may hold placeholders:
// {class}, the class's name; {item} and {Item}, the name of the field or
// indexed accessor, the second capitalised; {type}, its type; {value}, how a
// setter takes that type; {all}, the result type of getAllFields; {String},
// the string type, by its full name in a failed assertion. shapeOf
// (OperationShapes.h, generated from generator/operations.py) gives each Op's.
struct Shape {
  const char* name;        // "width", "{item}Is", "{class}" for the constructor
  const char* result;      // "" for the constructor
  const char* parameters;  // "(const {String}&, U16)"
  Item item;
  U8 flags;  // of ShapeFlag
};

// What else a shape says of its operation.
enum ShapeFlag : U8 {
  kStatic = 1,
  kConst = 2,
  kVirtual = 4,  // an override of the root class's
  kTraced = 8,   // writes the level 8 entry line
};

// A plain assertion of operation `op` of class k (of field or indexed
// accessor `item` where the operation has one): the platform's failure with
// the expression's text and the operation's signature.
[[noreturn]] TC_COLD void fail(const char* expression, const ClassInfo& k, Op op, int item,
                               int line);

// The same, of the expression "<name> <comparison> <bound>": "len_ >= 35".
[[noreturn]] TC_COLD void failBound(const char* name, const char* comparison, U64 bound,
                                    const ClassInfo& k, Op op, int item, int line);

// The end of a message assertion, once a Wisp::SassertHelper has delivered
// the message: the platform's failure of the quoted condition compared to a
// null pointer, "\"0\" == nullptr".
[[noreturn]] TC_COLD void failQuoted(const char* condition, const ClassInfo& k, Op op, int item,
                                     int line);

// The check of a row that rowOf didn't find: "0", or "<variable> == v" where
// the chip has the class on variant v alone.
[[noreturn]] TC_COLD void failRow(const ClassInfo& k, Op op, int item, int row,
                                  const char* variable, int line);

// Trace lines of the operation at the line `line` of the library: the entry
// line "<signature> chipType: <chip> variant: <variant>", that of
// hasIdentifier with " identifier: <identifier>", and the level 0 line of a
// getSchanAddress that found no row, ending in " failed.".
TC_COLD void traceOp(const ClassInfo& k, Op op, int item, U32 chipType, U32 variant, int line);
TC_COLD void traceOpIdentifier(const ClassInfo& k, Op op, U32 chipType, U32 variant,
                               U32 identifier, int line);
TC_COLD void traceOpFailed(const ClassInfo& k, Op op, U32 chipType, U32 variant, int line);
// The constructor's line: "<class> chipType: <chip name> variant: <variant>".
TC_COLD void traceConstructor(const ClassInfo& k, U8 chipType, U8 variant, int line);

// Whether the operation writes an entry line.
TC_INTERNAL bool isTraced(Op op);

}  // namespace TesselCounters

// The entry line of an operation, if level 8 is on.
#define TC_TRACE_OP(k, op, item, chip, var)                                           \
  do {                                                                                \
    if (TC_TRACE_ON(8)) ::TesselCounters::traceOp(k, op, item, chip, var, __LINE__); \
  } while (0)
