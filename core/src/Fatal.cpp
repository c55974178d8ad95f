// The texts of the fatal checks and trace lines: each operation's short name
// and signature, made from the class's name, the field's name and type, and
// the shape of the operation.
#include "Fatal.h"

#include <cstdio>
#include <cstring>

namespace TesselCounters {

namespace {

// A text of bounded length, for the names and expressions of checks and
// trace lines. Longer text is cut; no name in the catalogue comes near.
class Text {
 public:
  Text& operator<<(const char* text) {
    const std::size_t n = std::strlen(text);
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

// The parts of an operation's signature other than the class.
struct Shape {
  const char* result;  // nullptr for the constructor
  const char* name;    // nullptr: the field's or indexed accessor's name
  const char* parameters;
  bool isStatic;
  bool isConst;
  bool isVirtual;
  bool traced;
};

Shape shapeOf(Op op) {
  switch (op) {
    case Op::Constructor:
      return {nullptr, nullptr, "(Hardware::ChipType, U8*, U16, bool, U8)", false, false, false,
              true};
    case Op::Width:
      return {"U16", "width", "(U32, U8)", true, false, false, false};
    case Op::TableWidth:
      return {"U16", "tableWidth", "(U32, U8)", true, false, false, false};
    case Op::RegWidth:
      return {"U16", "regWidth", "(U32, U8)", true, false, false, false};
    case Op::Entries:
      return {"U32", "entries", "(U32, U8)", true, false, false, false};
    case Op::IndexMin:
      return {"U32", "index_min", "(U32, U8)", true, false, false, false};
    case Op::ArrayIndexMin:
      return {"U32", "arrayIndex_min", "(U32, U8)", true, false, false, false};
    case Op::MaxIdentifier:
      return {"U32", "maxIdentifier", "(U32, U8)", true, false, false, false};
    case Op::AddrStride:
      return {"U32", "addrStride", "(U32, U8)", true, false, false, false};
    case Op::ArrayElements:
      return {"U32", "arrayElements", "(U32, U8)", true, false, false, false};
    case Op::InstanceCount:
      return {"U16", "instanceCount", "(U32, U8)", true, false, false, true};
    case Op::FieldCount:
      return {"U16", "fieldCount", "(U32, U8)", true, false, false, true};
    case Op::HasIdentifier:
      return {"bool", "hasIdentifier", "(U32, U8, U32)", true, false, false, true};
    case Op::AllFieldsMask:
      return {"Raw8192", "allFieldsMask", "(U32, U8)", true, false, false, false};
    case Op::EntrySpans:
      return {"", "entrySpans", "(U32, U8)", true, false, false, true};
    case Op::GetSchanAddress:
      return {"bool", "getSchanAddress", "(U32, U8, U32&, U32&, U32&, U16, U32, U16)", true, false,
              false, true};
    case Op::GetAllFields:
      return {"", "getAllFields", "()", false, true, false, true};
    case Op::IsFieldValid:
      return {"bool", "isFieldValid", "(U32)", false, true, true, true};
    case Op::FieldWidth:
      return {"U16", "fieldWidth", "(U32)", false, true, true, true};
    case Op::FieldOffset:
      return {"U16", "fieldOffset", "(U32)", false, true, true, true};
    case Op::SetField64:
      return {"void", "setField64", "(U32, U64)", false, false, true, true};
    case Op::StringField:
      return {"U64", "stringField", "(const String&, U16)", false, true, true, true};
    case Op::StringFieldIs:
      return {"void", "stringFieldIs", "(const String&, const U64&)", false, false, true, true};
    case Op::Get:
      return {"", nullptr, "()", false, true, false, true};
    case Op::Set:
      return {"void", nullptr, "", false, false, false, true};
    case Op::Len:
      return {"U16", nullptr, "()", false, true, false, true};
    case Op::Offset:
      return {"U16", nullptr, "()", false, true, false, true};
    case Op::Valid:
      return {"bool", nullptr, "()", false, true, false, true};
    case Op::IndexedGet:
      return {"", nullptr, "(U32)", false, true, false, false};
    case Op::IndexedSet:
      return {"void", nullptr, "", false, false, false, false};
  }
  return {"", "", "", false, false, false, false};
}

// The operation's short name, as trace lines give it: "fieldCount",
// "engineNModeIs", "isEngineNModeValid", the class's name for a constructor.
void shortName(Text& text, const ClassInfo& k, Op op, int item) {
  const Shape shape = shapeOf(op);
  if (shape.name != nullptr) {
    text << shape.name;
    return;
  }
  switch (op) {
    case Op::Constructor:
      text << k.name;
      return;
    case Op::Get:
      text << k.fields[item].name;
      return;
    case Op::Set:
      text << k.fields[item].name << "Is";
      return;
    case Op::Len:
      text << k.fields[item].name << "Len";
      return;
    case Op::Offset:
      text << k.fields[item].name << "Offset";
      return;
    case Op::Valid: {
      const char* name = k.fields[item].name;
      const char first[2] = {static_cast<char>(name[0] - 'a' + 'A'), '\0'};
      text << "is" << first << name + 1 << "Valid";
      return;
    }
    case Op::IndexedGet:
      text << k.indexed[item].name;
      return;
    case Op::IndexedSet:
      text << k.indexed[item].name << "Is";
      return;
    default:
      return;
  }
}

// The type of an indexed accessor's value: that of the fields it reaches.
FieldType indexedType(const ClassInfo& k, int item) {
  return k.fields[k.indexed[item].fields[0]].type;
}

// The operation's full signature. As a trace line gives it:
// "void Hardware::CrpsEngineCfg::setField64(U32, U64)"; as the function of a
// failed assertion (`asserted`), with "virtual " before a virtual operation
// and the string type by its full name.
void signature(Text& text, const ClassInfo& k, Op op, int item, bool asserted) {
  const Shape shape = shapeOf(op);
  if (asserted && shape.isVirtual) text << "virtual ";
  if (shape.isStatic) text << "static ";
  switch (op) {
    case Op::Constructor:
      break;
    case Op::EntrySpans:
      text << "Hardware::" << k.name << "::EntrySpans ";
      break;
    case Op::GetAllFields:
      text << k.allFieldsType << " ";
      break;
    case Op::Get:
      text << typeName(k.fields[item].type) << " ";
      break;
    case Op::IndexedGet:
      text << typeName(indexedType(k, item)) << " ";
      break;
    default:
      text << shape.result << " ";
  }
  text << "Hardware::" << k.name << "::";
  shortName(text, k, op, item);
  if (op == Op::Set) {
    text << "(" << parameterName(k.fields[item].type) << ")";
  } else if (op == Op::IndexedSet) {
    text << "(U32, " << parameterName(indexedType(k, item)) << ")";
  } else if (asserted && (op == Op::StringField || op == Op::StringFieldIs)) {
    text << (op == Op::StringField ? "(const Larch::String&, U16)"
                                   : "(const Larch::String&, const U64&)");
  } else {
    text << shape.parameters;
  }
  if (shape.isConst) text << " const";
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
  return shapeOf(op).traced;
}

}  // namespace TesselCounters
