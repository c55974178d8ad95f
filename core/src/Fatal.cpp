// The texts of the fatal checks and trace lines: each operation's short name
// and signature, made from the class's name, the field's name and type, and
// the shape of the operation.
#include "Fatal.h"

#include <cstdio>
#include <cstring>

#include "OperationShapes.h"

namespace TesselCounters {

namespace {

// A text of bounded length, for the names and expressions of checks and
// trace lines. Longer text is cut; no name in the catalogue comes near.
class Text {
 public:
  Text& operator<<(const char* text) { return append(text, std::strlen(text)); }
  Text& append(const char* text, std::size_t n) {
    const std::size_t room = sizeof(data_) - 1 - size_;
    std::memcpy(data_ + size_, text, n < room ? n : room);
    size_ += n < room ? n : room;
    data_[size_] = '\0';
    return *this;
  }
  Text& operator<<(U64 value) {
    char digits[24];
    std::snprintf(digits, sizeof(digits), "%llu", static_cast<unsigned long long>(value));
    return *this << digits;
  }
  const char* c_str() const { return data_; }

 private:
  char data_[512] = {};
  std::size_t size_ = 0;
};

const char* typeName(FieldType type) {
  switch (type) {
    case FieldType::U8:
      return "U8";
    case FieldType::U16:
      return "U16";
    case FieldType::U32:
      return "U32";
    case FieldType::U64:
      return "U64";
    case FieldType::Raw128:
      return "Raw128";
    case FieldType::Raw256:
      return "Raw256";
    case FieldType::Raw512:
      return "Raw512";
  }
  return "";
}

// How a setter takes a value of the type: by value up to U32, else by reference.
const char* parameterName(FieldType type) {
  switch (type) {
    case FieldType::U64:
      return "const U64&";
    case FieldType::Raw128:
      return "const Raw128&";
    case FieldType::Raw256:
      return "const Raw256&";
    case FieldType::Raw512:
      return "const Raw512&";
    default:
      return typeName(type);
  }
}

// The field or indexed accessor `item`: its name and the type of its value.
const char* itemName(const ClassInfo& k, Item kind, int item) {
  return kind == Item::Indexed ? k.indexed[item].name : k.fields[item].name;
}

FieldType itemType(const ClassInfo& k, Item kind, int item) {
  return k.fields[kind == Item::Indexed ? k.indexed[item].fields[0] : item].type;
}

// Whether the placeholder at p (after its "{") is {key}; then p moves past it.
bool isKey(const char*& p, const char* key) {
  std::size_t n = 0;
  while (key[n] != '\0' && p[n] == key[n]) ++n;
  if (key[n] != '\0' || p[n] != '}') return false;
  p += n;
  return true;
}

// `pattern` with its placeholders filled (see Shape); `asserted` names the
// string type by its full name, as a failed assertion does.
void fill(Text& text, const char* pattern, const ClassInfo& k, Item kind, int item,
          bool asserted) {
  for (const char* p = pattern; *p != '\0'; ++p) {
    if (*p != '{') {
      text.append(p, 1);
    } else if (isKey(++p, "class")) {
      text << k.name;
    } else if (isKey(p, "item")) {
      text << itemName(k, kind, item);
    } else if (isKey(p, "Item")) {
      const char* name = itemName(k, kind, item);
      const char first[2] = {static_cast<char>(name[0] - 'a' + 'A'), '\0'};
      text << first << name + 1;
    } else if (isKey(p, "type")) {
      text << typeName(itemType(k, kind, item));
    } else if (isKey(p, "value")) {
      text << parameterName(itemType(k, kind, item));
    } else if (isKey(p, "all")) {
      text << k.allFieldsType;
    } else if (isKey(p, "String")) {
      text << (asserted ? "Larch::String" : "String");
    } else {
      text.append("{", 1);  // no placeholder: the text goes on after the brace
      --p;
    }
  }
}

// The operation's short name, as trace lines give it: "fieldCount",
// "engineNModeIs", "isEngineNModeValid", the class's name for a constructor.
void shortName(Text& text, const ClassInfo& k, Op op, int item) {
  const Shape shape = shapeOf(op);
  fill(text, shape.name, k, shape.item, item, false);
}

// The operation's full signature. As a trace line gives it:
// "void Hardware::CrpsEngineCfg::setField64(U32, U64)"; as the function of a
// failed assertion (`asserted`), with "virtual " before a virtual operation
// and the string type by its full name.
void signature(Text& text, const ClassInfo& k, Op op, int item, bool asserted) {
  const Shape shape = shapeOf(op);
  if (asserted && (shape.flags & kVirtual)) text << "virtual ";
  if (shape.flags & kStatic) text << "static ";
  if (*shape.result != '\0') {
    fill(text, shape.result, k, shape.item, item, asserted);
    text << " ";
  }
  text << "Hardware::" << k.name << "::";
  fill(text, shape.name, k, shape.item, item, asserted);
  fill(text, shape.parameters, k, shape.item, item, asserted);
  if (shape.flags & kConst) text << " const";
}

}  // namespace

void fail(const char* expression, const ClassInfo& k, Op op, int item, int line) {
  Text function;
  signature(function, k, op, item, true);
  ::Orrery::assertionFailure(expression, TC_UNIT, static_cast<unsigned>(line), function.c_str());
}

void failBound(const char* name, const char* comparison, U64 bound, const ClassInfo& k, Op op,
               int item, int line) {
  Text expression;
  expression << name << " " << comparison << " " << bound;
  fail(expression.c_str(), k, op, item, line);
}

void failQuoted(const char* condition, const ClassInfo& k, Op op, int item, int line) {
  Text expression;
  expression << "\"" << condition << "\" == nullptr";
  fail(expression.c_str(), k, op, item, line);
}

void failRow(const ClassInfo& k, Op op, int item, int row, const char* variable, int line) {
  if (row == kNoRow) fail("0", k, op, item, line);
  failBound(variable, "==", static_cast<U64>(-2 - row), k, op, item, line);
}

namespace {

// What a trace line says of the operation: its short name and its signature.
struct Named {
  Named(const ClassInfo& k, Op op, int item) {
    shortName(function, k, op, item);
    signature(text, k, op, item, false);
  }
  Text function;
  Text text;
};

}  // namespace

void traceOp(const ClassInfo& k, Op op, int item, U32 chipType, U32 variant, int line) {
  const Named named(k, op, item);
  traceEntry(8, line, named.function.c_str(), named.text.c_str(), chipType, variant);
}

void traceOpIdentifier(const ClassInfo& k, Op op, U32 chipType, U32 variant, U32 identifier,
                       int line) {
  const Named named(k, op, -1);
  traceEntryId(8, line, named.function.c_str(), named.text.c_str(), chipType, variant,
               identifier);
}

void traceOpFailed(const ClassInfo& k, Op op, U32 chipType, U32 variant, int line) {
  const Named named(k, op, -1);
  traceFailed(line, named.function.c_str(), named.text.c_str(), chipType, variant);
}

void traceConstructor(const ClassInfo& k, U8 chipType, U8 variant, int line) {
  Text text;
  text << k.name << " chipType: " << chipName(chipType) << " variant: ";
  traceCtor(line, k.name, text.c_str(), variant);
}

bool isTraced(Op op) {
  return (shapeOf(op).flags & kTraced) != 0;
}

}  // namespace TesselCounters
