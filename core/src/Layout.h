// What each accessor class is made of, as data: its geometry rows, its fields
// with one cell per row, and the switch that picks the row of a chip and
// variant. The generated source of a class holds only these tables and thin
// accessors; every check, fatal text and trace line is made here and in
// Access.cpp, once for all classes.
//
// A call that passes every check takes a short path: a test of the trace
// level, the row, the cell, the length (and on a setter the value), and the
// bit copy. Anything else - a traced call, a field absent on the object's
// chip or variant, a short buffer, a value too wide - goes to a cold routine
// that writes the trace line and makes the checks one by one, in the order
// of the contract, each with its own text.
#pragma once

#include <Orrery/Bits.h>

#include "AccessorImpl.h"
#include "Operations.h"  // enum class Op, generated from generator/operations.py

namespace TesselCounters {

// The type of a field's value.
enum class FieldType : U8 { U8, U16, U32, U64, Raw128, Raw256, Raw512 };

inline bool isRaw(FieldType type) {
  return type >= FieldType::Raw128;
}

// Bytes of a value of the type.
inline unsigned typeBytes(FieldType type) {
  return 1u << static_cast<unsigned>(type);
}

// Where a field lies on one geometry row: offset and width in bits. A field
// absent from the row has width 0, and its offset tells the check that stops
// an access there: kAnyVariant for "0", otherwise the one variant on which
// the chip has the field ("variant_ == 4").
struct Cell {
  U16 offset;
  U16 width;
};

constexpr U16 kAnyVariant = 0xffff;
constexpr Cell kNo = {kAnyVariant, 0};
constexpr Cell onlyOn(U16 variant) {
  return Cell{variant, 0};
}

// Bytes of the buffer that a field in this cell needs.
inline unsigned cellBytes(Cell cell) {
  return (static_cast<unsigned>(cell.offset) + cell.width + 7) / 8;
}

// Where a field of up to 64 bits that lies within 8 bytes of its first bit's
// byte is read and written in one load: the 8 bytes of the row's entry from
// that byte, or its last 8 where fewer follow (4 in an entry of one word).
// A getter or setter loads `need - start` bytes at byte `start` of the
// buffer and finds the field at bit `shift` of them, where the buffer has at
// least `need` bytes; kNever where there is no such window (the field absent
// or wider), and in a shorter buffer, the access takes the checks one by one.
struct Window {
  U32 need;
  U16 start;
  U8 shift;
  U8 width;
};

constexpr U32 kNever = 0xffffffff;

// The answers of one group of chips and variants with the same layout.
struct Row {
  U16 width;
  U16 instanceCount;
  U16 fieldCount;
  U16 tableVariantCount;  // memories
  U32 arrayElements;
  U32 addrStride;  // registers
  U32 entries;     // memories
  U32 address;     // base of element 0, entry 0
  bool arrayIndexIsZero;  // a memory of one element that checks "arrayIndex == 0"
  const U32* mask;        // the field mask, words of the class
  const Orrery::EntrySpan* spans;  // memories
};

// The row of a chip and variant, or why there is none: kNoRow for the
// check "0", noRowBut(v) where the chip has the class on variant v alone.
constexpr int kNoRow = -1;
constexpr int noRowBut(int variant) {
  return -2 - variant;
}

// The first thing a lookup by name compares: the length of the accessor name
// and its last three characters, where the names of a series differ.
constexpr U32 nameKey(const char* name, std::size_t length) {
  U32 key = static_cast<U32>(length < 255 ? length : 255);
  for (std::size_t i = 0; i < 3 && i < length; ++i)
    key |= static_cast<U32>(static_cast<unsigned char>(name[length - 1 - i])) << (8 * (i + 1));
  return key;
}

constexpr std::size_t nameLength(const char* name) {
  std::size_t n = 0;
  while (name[n] != '\0') ++n;
  return n;
}

struct Field {
  constexpr Field(U32 id_, FieldType type_, const char* name_, const char* hardwareName_)
      : id(id_),
        key(nameKey(name_, nameLength(name_))),
        type(type_),
        name(name_),
        hardwareName(hardwareName_) {}

  U32 id;
  U32 key;  // nameKey of the accessor name
  FieldType type;
  const char* name;          // accessor name, "engineNMode"
  const char* hardwareName;  // "ENGINE_N_MODE"
};

// An indexed accessor: index i reaches field fields[i].
struct Indexed {
  const char* name;
  U16 count;
  const U16* fields;
};

using BlockFunction = void (*)(U32 chipType, U8 variant, U32 identifier, U32& subBlock,
                               U32& block);

struct ClassInfo {
  const char* name;
  bool memory;
  U16 words;          // the widest row's width
  const char* allFieldsType;  // result type of getAllFields
  U16 rowCount;
  const Row* rows;
  int (*rowOf)(U32 chipType, U8 variant);
  U16 fieldCount;
  const Field* fields;
  const Cell* cells;  // fieldCount x rowCount, field by field
  const Window* windows;  // the same, the window of each cell
  int (*fieldOf)(U32 id);  // index in fields, -1 for an identifier the class lacks
  const Indexed* indexed;
  BlockFunction block;
  const U16* nameSlots;  // field index + 1 by nameSlot of its key, 0 for none
  U16 nameSlotMask;      // slots - 1, a power of two less one
};

// The first slot of a name's key in a table of mask + 1 slots.
constexpr unsigned nameSlot(U32 key, unsigned mask) {
  return (key * 0x9E3779B1u) >> 16 & mask;
}

// The slots of a class's table of names: a power of two at least twice the
// number of fields, so that the table is at most half full.
constexpr unsigned nameSlotCount(unsigned fieldCount) {
  unsigned count = 2;
  while (count < 2 * fieldCount) count *= 2;
  return count;
}

// Fills the table of names, at compile time: each field's index + 1 at the
// slot of its name's key or in the first free one after it, 0 in the rest.
constexpr void fillNameSlots(const Field* fields, unsigned fieldCount, U16* slots,
                             unsigned slotCount) {
  for (unsigned slot = 0; slot < slotCount; ++slot) slots[slot] = 0;
  for (unsigned field = 0; field < fieldCount; ++field) {
    unsigned slot = nameSlot(fields[field].key, slotCount - 1);
    while (slots[slot] != 0) slot = (slot + 1) & (slotCount - 1);
    slots[slot] = static_cast<U16>(field + 1);
  }
}

// The window of a cell on a row of `rowBytes` bytes, at compile time.
constexpr Window windowOf(Cell cell, unsigned rowBytes) {
  if (cell.width == 0 || (cell.offset & 7) + cell.width > 64 || rowBytes < 4)
    return Window{kNever, 0, 0, 0};
  const unsigned bytes = rowBytes >= 8 ? 8 : 4;
  const unsigned first = cell.offset >> 3;
  const unsigned start = first + bytes <= rowBytes ? first : rowBytes - bytes;
  return Window{start + bytes, static_cast<U16>(start), static_cast<U8>(cell.offset - 8 * start),
                static_cast<U8>(cell.width)};
}

// Fills the windows of a class's cells (fieldCount x rowCount, field by
// field), at compile time.
constexpr void fillWindows(const Cell* cells, const Row* rows, unsigned fieldCount,
                           unsigned rowCount, Window* windows) {
  for (unsigned field = 0; field < fieldCount; ++field)
    for (unsigned row = 0; row < rowCount; ++row)
      windows[field * rowCount + row] =
          windowOf(cells[field * rowCount + row], 4u * rows[row].width);
}

// The name of a chip of the catalogue ("BCM88690_B0"), nullptr for another number.
TC_INTERNAL const char* chipName(U8 chipType);

// ---------------------------------------------------------------------------
// The operations of every class over its tables, `self` being the accessor.
// Each makes its checks in the contract's order and stops with their texts.

TC_INTERNAL void construct(const ClassInfo& k, const Orrery::AsicBase& self);
TC_INTERNAL bool hasIdentifier(const ClassInfo& k, U32 chipType, U8 variant, U32 identifier);
TC_INTERNAL Raw8192 allFieldsMask(const ClassInfo& k, U32 chipType, U8 variant);
TC_INTERNAL U32 tableVariantCount(const ClassInfo& k, U32 chipType);
// `result` has 4 x words bytes.
TC_INTERNAL void getAllFields(const ClassInfo& k, const Orrery::AsicBase& self, void* result);

TC_INTERNAL U16 fieldLen(const ClassInfo& k, int field, const Orrery::AsicBase& self);
TC_INTERNAL U16 fieldOffset(const ClassInfo& k, int field, const Orrery::AsicBase& self);
TC_INTERNAL bool fieldValid(const ClassInfo& k, int field, const Orrery::AsicBase& self);
// The field that an indexed accessor's index reaches; stops with "Array
// index ... out of range for ..." past the bound.
TC_INTERNAL int indexedField(const ClassInfo& k, int indexed, bool setter, U32 index);

TC_INTERNAL bool isFieldValid(const ClassInfo& k, U32 id, const Orrery::AsicBase& self);
TC_INTERNAL U16 fieldWidth(const ClassInfo& k, U32 id, const Orrery::AsicBase& self);
TC_INTERNAL U16 fieldOffsetById(const ClassInfo& k, U32 id, const Orrery::AsicBase& self);
TC_INTERNAL U64 stringField(const ClassInfo& k, std::string_view name, U16 word,
                            const Orrery::AsicBase& self);
TC_INTERNAL void stringFieldIs(const ClassInfo& k, std::string_view name, U64 value,
                               Orrery::AsicBase& self);

// The same operations with the checks one by one, after the entry line: the
// cold part of the inline ones below.
TC_COLD const Row& rowChecked(const ClassInfo& k, Op op, U32 chipType, U8 variant);
TC_COLD U64 getChecked(const ClassInfo& k, int field, const Orrery::AsicBase& self);
TC_COLD void setChecked(const ClassInfo& k, int field, Orrery::AsicBase& self, U64 value);
TC_COLD void getRawChecked(const ClassInfo& k, int field, const Orrery::AsicBase& self,
                           U8* value);
TC_COLD void setRawChecked(const ClassInfo& k, int field, Orrery::AsicBase& self,
                           const U8* value);
TC_COLD void setField64Checked(const ClassInfo& k, U32 id, Orrery::AsicBase& self, U64 value);
TC_COLD bool getSchanAddressChecked(const ClassInfo& k, U32 chipType, U8 variant, U32& address,
                                    U32& subBlock, U32& block, U16 identifier, U32 tableEntry,
                                    U16 arrayIndex);

// ---------------------------------------------------------------------------
// Inline: the operations that programs call in their loops. A call that
// passes every check (no trace level on, the row and the cell found, the
// length and the value in bounds) finds its row, its cell and copies the
// bits without a call; any other goes to the cold part. With the tables of a
// class known, the row's switch is inlined too. Each class compiles them
// once, into functions of its own that its thin accessors call.

#define TC_INLINE [[gnu::always_inline]] inline

// Keeps a class's copy of an inline operation out of the accessors that call it.
#define TC_CLASS_COPY __attribute__((noinline))

// The cell of a field on a row; width 0 where there is none.
TC_INLINE Cell cellOf(const ClassInfo& k, int field, int row) {
  return row < 0 ? kNo : k.cells[field * k.rowCount + row];
}

// Whether a setter's value passes "value <= 0x...": always on the widths of
// whole value types, which take any value and keep its low bits.
TC_INLINE bool valueFits(unsigned width, U64 value) {
  return width == 8 || width == 16 || width == 32 || width >= 64 || (value >> width) == 0;
}

// A value converted to the field's type: the bits above it dropped.
TC_INLINE U64 toFieldType(FieldType type, U64 value) {
  const unsigned bits = 8 * typeBytes(type);
  return bits >= 64 ? value : value & ~(~U64{0} << bits);
}

// The geometry row of a query's chip and variant; stops with "variant == v"
// or "0" where there is none, after the entry line if the query is traced.
TC_INLINE const Row& row(const ClassInfo& k, Op op, bool traced, U32 chipType, U8 variant) {
  const int r = k.rowOf(chipType, variant);
  if (r >= 0 && !(traced && TC_TRACE_ON(8))) return k.rows[r];
  return rowChecked(k, op, chipType, variant);
}

// The bytes of a window, as a number, and back.
TC_INLINE U64 loadWindow(const U8* buf, Window w) {
  using Detail::BitsImpl::loadBytes;
  return w.need - w.start == 8 ? loadBytes(buf + w.start, 8) : loadBytes(buf + w.start, 4);
}

TC_INLINE void storeWindow(U8* buf, Window w, U64 word) {
  using Detail::BitsImpl::storeBytes;
  if (w.need - w.start == 8) {
    storeBytes(buf + w.start, 8, word);
  } else {
    storeBytes(buf + w.start, 4, word);
  }
}

// F() of a field of up to 64 bits, zero-extended.
TC_INLINE U64 get(const ClassInfo& k, int field, const Orrery::AsicBase& self) {
  const int r = k.rowOf(self.chipType(), self.variant());
  if (r >= 0) {
    const Window w = k.windows[field * k.rowCount + r];
    if (self.len() >= w.need && !TC_TRACE_ON(8))
      return loadWindow(self.buf(), w) >> w.shift & Detail::BitsImpl::lowBits(w.width);
  }
  return getChecked(k, field, self);
}

// FIs(value) of a field of up to 64 bits.
TC_INLINE void set(const ClassInfo& k, int field, Orrery::AsicBase& self, U64 value) {
  const int r = k.rowOf(self.chipType(), self.variant());
  if (r >= 0) {
    const Window w = k.windows[field * k.rowCount + r];
    if (self.len() >= w.need && valueFits(w.width, value) && !TC_TRACE_ON(8)) {
      const U64 mask = Detail::BitsImpl::lowBits(w.width) << w.shift;
      const U64 word = loadWindow(self.buf(), w);
      storeWindow(self.buf(), w, (word & ~mask) | (value << w.shift & mask));
      return;
    }
  }
  setChecked(k, field, self, value);
}

// A field of up to 128 bits that lies within the 16 bytes from its first
// bit's byte, where the buffer has them: read or written as two words.
TC_INLINE bool inTwoWords(Cell cell, unsigned len) {
  return (cell.offset & 7) + cell.width <= 128 && (cell.offset >> 3) + 16u <= len;
}

// The low n bits of a pair of words set (0 < n <= 128): low word, high word.
TC_INLINE void lowBits128(unsigned n, U64& low, U64& high) {
  using Detail::BitsImpl::lowBits;
  low = n >= 64 ? ~U64{0} : lowBits(static_cast<int>(n));
  high = n <= 64 ? 0 : lowBits(static_cast<int>(n) - 64);
}

// Words low, high shifted up by s < 8 bits.
TC_INLINE void shiftUp(unsigned s, U64& low, U64& high) {
  if (s == 0) return;
  high = high << s | low >> (64 - s);
  low <<= s;
}

TC_INLINE void readTwoWords(const U8* buf, Cell cell, U8* value) {
  const unsigned s = cell.offset & 7;
  const U8* p = buf + (cell.offset >> 3);
  using Detail::BitsImpl::loadBytes;
  U64 low = loadBytes(p, 8), high = loadBytes(p + 8, 8);
  if (s != 0) {
    low = low >> s | high << (64 - s);
    high >>= s;
  }
  U64 maskLow, maskHigh;
  lowBits128(cell.width, maskLow, maskHigh);
  low &= maskLow;
  high &= maskHigh;
  Detail::BitsImpl::storeBytes(value, 8, low);
  Detail::BitsImpl::storeBytes(value + 8, 8, high);
}

TC_INLINE void writeTwoWords(U8* buf, Cell cell, const U8* value) {
  const unsigned s = cell.offset & 7;
  U8* p = buf + (cell.offset >> 3);
  U64 maskLow, maskHigh;
  lowBits128(cell.width, maskLow, maskHigh);
  using Detail::BitsImpl::loadBytes;
  U64 low = loadBytes(value, 8) & maskLow, high = loadBytes(value + 8, 8) & maskHigh;
  shiftUp(s, low, high);
  shiftUp(s, maskLow, maskHigh);
  low |= loadBytes(p, 8) & ~maskLow;
  high |= loadBytes(p + 8, 8) & ~maskHigh;
  Detail::BitsImpl::storeBytes(p, 8, low);
  Detail::BitsImpl::storeBytes(p + 8, 8, high);
}

// F() and FIs(value) of a field wider than 64 bits; `value` has the bytes of
// the field's type. A Raw128 field whose 16 bytes the buffer holds goes as
// two words, any other a word of the value at a time.
TC_INLINE void getRaw(const ClassInfo& k, int field, const Orrery::AsicBase& self, U8* value) {
  const Cell cell = cellOf(k, field, k.rowOf(self.chipType(), self.variant()));
  if (cell.width != 0 && self.len() >= cellBytes(cell) && !TC_TRACE_ON(8)) {
    const FieldType type = k.fields[field].type;
    if (type == FieldType::Raw128 && inTwoWords(cell, self.len())) {
      readTwoWords(self.buf(), cell, value);
      return;
    }
    Detail::copyBits(value, static_cast<int>(typeBytes(type)), self.buf(), self.len(), cell.width,
                     0, cell.offset);
    return;
  }
  getRawChecked(k, field, self, value);
}

TC_INLINE void setRaw(const ClassInfo& k, int field, Orrery::AsicBase& self, const U8* value) {
  const Cell cell = cellOf(k, field, k.rowOf(self.chipType(), self.variant()));
  if (cell.width != 0 && self.len() >= cellBytes(cell) && !TC_TRACE_ON(8)) {
    const FieldType type = k.fields[field].type;
    if (type == FieldType::Raw128 && inTwoWords(cell, self.len())) {
      writeTwoWords(self.buf(), cell, value);
      return;
    }
    Detail::copyBits(self.buf(), self.len(), value, static_cast<int>(typeBytes(type)), cell.width,
                     cell.offset, 0);
    return;
  }
  setRawChecked(k, field, self, value);
}

// setField64(id, value): the value converted to the field's type first.
TC_INLINE void setField64(const ClassInfo& k, U32 id, Orrery::AsicBase& self, U64 value) {
  const int field = k.fieldOf(id);
  if (field >= 0 && !isRaw(k.fields[field].type) && !TC_TRACE_ON(8)) {
    set(k, field, self, toFieldType(k.fields[field].type, value));
    return;
  }
  setField64Checked(k, id, self, value);
}

TC_INLINE bool getSchanAddress(const ClassInfo& k, U32 chipType, U8 variant, U32& address,
                               U32& subBlock, U32& block, U16 identifier, U32 tableEntry,
                               U16 arrayIndex) {
  const int r = k.rowOf(chipType, variant);
  if (r >= 0 && !TC_TRACE_ON(8)) {
    const Row& row = k.rows[r];
    const bool entryIn = k.memory ? tableEntry < row.entries : tableEntry == 0;
    if (entryIn && arrayIndex < row.arrayElements && identifier < row.instanceCount) {
      address = k.memory ? row.address + tableEntry + arrayIndex * row.entries
                         : row.address + arrayIndex * row.addrStride;
      k.block(chipType, variant, identifier, subBlock, block);
      return true;
    }
  }
  return getSchanAddressChecked(k, chipType, variant, address, subBlock, block, identifier,
                                tableEntry, arrayIndex);
}

}  // namespace TesselCounters
