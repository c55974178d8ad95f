// The operations of every accessor class over its tables. Each operation
// that can stop has a short path for a call that passes every check (no
// trace level on, the row and cell found, the length and value in bounds)
// and a cold one that writes the trace line and makes the checks one by one,
// in the contract's order, each stopping with its own text.
#include <cstdio>
#include <cstring>
#include <ostream>

#include "Fatal.h"

namespace TesselCounters {

using Hardware::operator<<;

namespace {

int rowOf(const ClassInfo& k, const Orrery::AsicBase& self) {
  return k.rowOf(self.chipType(), self.variant());
}

// The cell of a field on the object's row, or the check that fails there:
// "0" or "variant_ == v".
Cell checkedCell(const ClassInfo& k, Op op, int field, const Orrery::AsicBase& self) {
  const int row = rowOf(k, self);
  if (row < 0) failRow(k, op, field, row, "variant_", __LINE__);
  const Cell cell = k.cells[field * k.rowCount + row];
  if (cell.width == 0) {
    if (cell.offset == kAnyVariant) fail("0", k, op, field, __LINE__);
    failBound("variant_", "==", cell.offset, k, op, field, __LINE__);
  }
  return cell;
}

void checkLength(const ClassInfo& k, Op op, int field, Cell cell, U16 len) {
  if (len < cellBytes(cell)) failBound("len_", ">=", cellBytes(cell), k, op, field, __LINE__);
}

// Whether the n bytes at a and b are equal: 8 at a time, inline, the last 8
// overlapping the ones before them, since names are short and a library call
// costs more than the comparison.
TC_INLINE U64 eightBytes(const char* p) {
  U64 word;
  std::memcpy(&word, p, 8);
  return word;
}

TC_INLINE bool sameBytes(const char* a, const char* b, std::size_t n) {
  if (n < 8) return std::string_view(a, n) == std::string_view(b, n);
  for (std::size_t i = 0; i + 8 < n; i += 8)
    if (eightBytes(a + i) != eightBytes(b + i)) return false;
  return eightBytes(a + n - 8) == eightBytes(b + n - 8);
}

// The field called `name`, -1 if none is: the slots from the one of the
// name's key on, up to an empty one, comparing the key first.
TC_INLINE int fieldNamed(const ClassInfo& k, std::string_view name) {
  const U32 key = nameKey(name.data(), name.size());
  for (unsigned slot = nameSlot(key, k.nameSlotMask);; slot = (slot + 1) & k.nameSlotMask) {
    const int f = k.nameSlots[slot] - 1;
    if (f < 0) return -1;
    const Field& field = k.fields[f];
    if (field.key == key && sameBytes(field.name, name.data(), name.size())) return f;
  }
}

// The message assertion of a name that no field of the class has.
[[noreturn]] void failUnknownName(const ClassInfo& k, Op op, const char* message) {
  {
    Wisp::SassertHelper helper("false");
    helper.stream() << message;
  }
  failQuoted("false", k, op, -1, __LINE__);
}

}  // namespace

#define TC_TRACE_SELF(k, op, item, self) TC_TRACE_OP(k, op, item, self.chipType(), self.variant())

// ---------------------------------------------------------------------------
// The checks one by one.

const Row& rowChecked(const ClassInfo& k, Op op, U32 chipType, U8 variant) {
  if (isTraced(op)) TC_TRACE_OP(k, op, -1, chipType, variant);
  const int row = k.rowOf(chipType, variant);
  if (row < 0) failRow(k, op, -1, row, "variant", __LINE__);
  return k.rows[row];
}

U64 getChecked(const ClassInfo& k, int field, const Orrery::AsicBase& self) {
  TC_TRACE_SELF(k, Op::Get, field, self);
  const Cell cell = checkedCell(k, Op::Get, field, self);
  checkLength(k, Op::Get, field, cell, self.len());
  U64 result = 0;
  Detail::copyBits(reinterpret_cast<U8*>(&result), sizeof(result), self.buf(), self.len(),
                   cell.width, 0, cell.offset);
  return result;
}

void setChecked(const ClassInfo& k, int field, Orrery::AsicBase& self, U64 value) {
  TC_TRACE_SELF(k, Op::Set, field, self);
  const Cell cell = checkedCell(k, Op::Set, field, self);
  checkLength(k, Op::Set, field, cell, self.len());
  if (!valueFits(cell.width, value)) {
    char expression[40];
    std::snprintf(expression, sizeof(expression), "value <= 0x%llx",
                  static_cast<unsigned long long>(~U64{0} >> (64 - cell.width)));
    fail(expression, k, Op::Set, field, __LINE__);
  }
  Detail::copyBits(self.buf(), self.len(), reinterpret_cast<const U8*>(&value), sizeof(value),
                   cell.width, cell.offset, 0);
}

void getRawChecked(const ClassInfo& k, int field, const Orrery::AsicBase& self,
                             U8* value) {
  TC_TRACE_SELF(k, Op::Get, field, self);
  const Cell cell = checkedCell(k, Op::Get, field, self);
  checkLength(k, Op::Get, field, cell, self.len());
  Detail::copyBits(value, static_cast<int>(typeBytes(k.fields[field].type)), self.buf(),
                   self.len(), cell.width, 0, cell.offset);
}

void setRawChecked(const ClassInfo& k, int field, Orrery::AsicBase& self,
                             const U8* value) {
  TC_TRACE_SELF(k, Op::Set, field, self);
  const Cell cell = checkedCell(k, Op::Set, field, self);
  checkLength(k, Op::Set, field, cell, self.len());
  Detail::copyBits(self.buf(), self.len(), value,
                   static_cast<int>(typeBytes(k.fields[field].type)), cell.width, cell.offset, 0);
}

void setField64Checked(const ClassInfo& k, U32 id, Orrery::AsicBase& self, U64 value) {
  TC_TRACE_SELF(k, Op::SetField64, -1, self);
  const int field = k.fieldOf(id);
  if (field < 0 || isRaw(k.fields[field].type)) fail("false", k, Op::SetField64, -1, __LINE__);
  setChecked(k, field, self, toFieldType(k.fields[field].type, value));
}

bool getSchanAddressChecked(const ClassInfo& k, U32 chipType, U8 variant, U32& address,
                            U32& subBlock, U32& block, U16 identifier, U32 tableEntry,
                            U16 arrayIndex) {
  const Op op = Op::GetSchanAddress;
  TC_TRACE_OP(k, op, -1, chipType, variant);
  const int r = k.rowOf(chipType, variant);
  if (r < 0) {
    if (TC_TRACE_ON(0)) traceOpFailed(k, op, chipType, variant, __LINE__);
    return false;
  }
  const Row& row = k.rows[r];
  if (k.memory) {
    if (tableEntry >= row.entries) failBound("tableEntry", "<", row.entries, k, op, -1, __LINE__);
    if (row.arrayElements == 1 && row.arrayIndexIsZero) {
      if (arrayIndex != 0) fail("arrayIndex == 0", k, op, -1, __LINE__);
    } else if (arrayIndex >= row.arrayElements) {
      failBound("arrayIndex", "<", row.arrayElements, k, op, -1, __LINE__);
    }
    address = row.address + tableEntry + arrayIndex * row.entries;
  } else {
    if (tableEntry != 0) fail("tableEntry == 0", k, op, -1, __LINE__);
    if (arrayIndex >= row.arrayElements)
      failBound("arrayIndex", "<", row.arrayElements, k, op, -1, __LINE__);
    address = row.address + arrayIndex * row.addrStride;
  }
  if (!hasIdentifier(k, chipType, variant, identifier))
    fail("hasIdentifier( chipType, variant, identifier )", k, op, -1, __LINE__);
  k.block(chipType, variant, identifier, subBlock, block);
  return true;
}

// ---------------------------------------------------------------------------
// Construction, queries, fields

void construct(const ClassInfo& k, const Orrery::AsicBase& self) {
  if (rowOf(k, self) >= 0) {
    if (TC_TRACE_ON(8)) traceConstructor(k, self.chipType(), self.variant(), __LINE__);
    return;
  }
  {
    Wisp::SassertHelper helper("0");
    helper.stream() << chipAndVariant(self.chipType(), self.variant()) << " not in metainfo for "
                    << k.name << "!";
  }
  failQuoted("0", k, Op::Constructor, -1, __LINE__);
}

bool hasIdentifier(const ClassInfo& k, U32 chipType, U8 variant, U32 identifier) {
  if (TC_TRACE_ON(8))
    traceOpIdentifier(k, Op::HasIdentifier, chipType, variant, identifier, __LINE__);
  const int r = k.rowOf(chipType, variant);
  if (r < 0) failRow(k, Op::HasIdentifier, -1, r, "variant", __LINE__);
  return identifier < k.rows[r].instanceCount;
}

Raw8192 allFieldsMask(const ClassInfo& k, U32 chipType, U8 variant) {
  const U32* mask = row(k, Op::AllFieldsMask, false, chipType, variant).mask;
  Raw8192 result{};
  Detail::copyBits(result.data(), 4 * k.words, reinterpret_cast<const U8*>(mask), 4 * k.words,
                   32 * k.words, 0, 0);
  return result;
}

U32 tableVariantCount(const ClassInfo& k, U32 chipType) {
  const int r = k.rowOf(chipType, 0);
  return r < 0 ? 0 : k.rows[r].tableVariantCount;
}

void getAllFields(const ClassInfo& k, const Orrery::AsicBase& self, void* result) {
  TC_TRACE_SELF(k, Op::GetAllFields, -1, self);
  const int r = rowOf(k, self);
  if (r < 0) failRow(k, Op::GetAllFields, -1, r, "variant_", __LINE__);
  if (self.len() < 4 * k.words)
    failBound("len_", ">=", 4 * k.words, k, Op::GetAllFields, -1, __LINE__);
  maskBuf(reinterpret_cast<const U32*>(self.buf()), k.words, static_cast<U32*>(result), k.words,
          k.rows[r].mask, k.words);
}

U16 fieldLen(const ClassInfo& k, int field, const Orrery::AsicBase& self) {
  TC_TRACE_SELF(k, Op::Len, field, self);
  const Cell cell = cellOf(k, field, rowOf(k, self));
  if (cell.width != 0) return cell.width;
  {
    Wisp::SassertHelper helper("0");
    helper.stream() << chipAndVariant(self.chipType(), self.variant()) << " does not have field "
                    << k.fields[field].hardwareName;
  }
  failQuoted("0", k, Op::Len, field, __LINE__);
}

U16 fieldOffset(const ClassInfo& k, int field, const Orrery::AsicBase& self) {
  TC_TRACE_SELF(k, Op::Offset, field, self);
  return checkedCell(k, Op::Offset, field, self).offset;
}

bool fieldValid(const ClassInfo& k, int field, const Orrery::AsicBase& self) {
  TC_TRACE_SELF(k, Op::Valid, field, self);
  return cellOf(k, field, rowOf(k, self)).width != 0;
}

int indexedField(const ClassInfo& k, int indexed, bool setter, U32 index) {
  const Indexed& ix = k.indexed[indexed];
  if (index < ix.count) return ix.fields[index];
  {
    Wisp::SassertHelper helper("0");
    helper.stream() << "Array index " << index << " out of range for " << ix.name
                    << (setter ? "Is" : "");
  }
  failQuoted("0", k, setter ? Op::IndexedSet : Op::IndexedGet, indexed, __LINE__);
}

// ---------------------------------------------------------------------------
// By identifier and by name

bool isFieldValid(const ClassInfo& k, U32 id, const Orrery::AsicBase& self) {
  TC_TRACE_SELF(k, Op::IsFieldValid, -1, self);
  const int field = k.fieldOf(id);
  return field >= 0 && fieldValid(k, field, self);
}

U16 fieldWidth(const ClassInfo& k, U32 id, const Orrery::AsicBase& self) {
  TC_TRACE_SELF(k, Op::FieldWidth, -1, self);
  if (!isFieldValid(k, id, self)) return 0;
  return fieldLen(k, k.fieldOf(id), self);
}

U16 fieldOffsetById(const ClassInfo& k, U32 id, const Orrery::AsicBase& self) {
  TC_TRACE_SELF(k, Op::FieldOffset, -1, self);
  const int field = k.fieldOf(id);
  if (field < 0) fail("false", k, Op::FieldOffset, -1, __LINE__);
  return fieldOffset(k, field, self);
}

U64 stringField(const ClassInfo& k, std::string_view name, U16 word, const Orrery::AsicBase& self) {
  TC_TRACE_SELF(k, Op::StringField, -1, self);
  const int field = fieldNamed(k, name);
  if (field < 0) failUnknownName(k, Op::StringField, "fieldName not found.");
  const FieldType type = k.fields[field].type;
  if (!isRaw(type)) return get(k, field, self);
  const unsigned words = typeBytes(type) / 8;
  // A call that passes every check reads the one word it returns.
  const Cell cell = cellOf(k, field, rowOf(k, self));
  if (cell.width != 0 && self.len() >= cellBytes(cell) && word < words && !TC_TRACE_ON(8)) {
    const int bit = 64 * word;
    if (bit >= cell.width) return 0;
    return Detail::BitsImpl::read(self.buf(), self.len(), cell.offset + bit,
                                  cell.width - bit < 64 ? cell.width - bit : 64);
  }
  U8 value[64] = {};
  getRaw(k, field, self, value);
  if (word >= words) failBound("word", "<", words, k, Op::StringField, -1, __LINE__);
  U64 result;
  std::memcpy(&result, value + 8 * word, sizeof(result));
  return result;
}

void stringFieldIs(const ClassInfo& k, std::string_view name, U64 value, Orrery::AsicBase& self) {
  TC_TRACE_SELF(k, Op::StringFieldIs, -1, self);
  const int field = fieldNamed(k, name);
  if (field < 0) failUnknownName(k, Op::StringFieldIs, "fieldName not found or is const.");
  const FieldType type = k.fields[field].type;
  if (isRaw(type)) fail("false", k, Op::StringFieldIs, -1, __LINE__);
  set(k, field, self, toFieldType(type, value));
}

}  // namespace TesselCounters
