// Checks one (chip, variant) row of an accessor class against the layout that
// a test expects, through the operations by identifier and by name: which
// fields exist, where they lie, the field mask, getAllFields over a buffer of
// all ones, that a write changes exactly the field's bits, and the length and
// value checks at their limits.
#pragma once

#include "TestSupport.h"

#include <algorithm>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

namespace tc {

struct FieldPlace {
  U32 id;
  unsigned offset;
  unsigned width;
};
using Layout = std::vector<FieldPlace>;

// One field of a packed sequence; width 0 means that the layout lacks it.
struct Packed {
  U32 id;
  unsigned width;
};

// Places the fields from bit 0 upward in the order given, with no gap.
inline Layout packFrom0(const std::vector<Packed>& sequence) {
  Layout out;
  unsigned bit = 0;
  for (const auto& f : sequence) {
    if (f.width == 0) continue;
    out.push_back({f.id, bit, f.width});
    bit += f.width;
  }
  return out;
}

inline unsigned bitsUsed(const Layout& layout) {
  unsigned end = 0;
  for (const auto& f : layout) end = std::max(end, f.offset + f.width);
  return end;
}

inline U64 ones(unsigned width) { return width >= 64 ? ~0ULL : (1ULL << width) - 1; }

inline std::string hex(U64 value) {
  std::ostringstream os;
  os << "0x" << std::hex << value;
  return os.str();
}

inline std::string lenCheck(unsigned bytes) { return "len_ >= " + std::to_string(bytes); }

inline unsigned lastByte(const FieldPlace& f) { return (f.offset + f.width + 7) / 8; }

inline std::vector<U8> maskBytes(const Layout& layout, std::size_t bytes) {
  std::vector<U8> mask(bytes, 0);
  for (const auto& f : layout)
    for (unsigned bit = f.offset; bit < f.offset + f.width; ++bit) mask[bit / 8] |= U8(1u << (bit % 8));
  return mask;
}

inline const FieldPlace* find(const Layout& layout, U32 id) {
  for (const auto& f : layout)
    if (f.id == id) return &f;
  return nullptr;
}

inline Larch::String nameOf(U32 id) { return Larch::String(Hardware::fieldIdAccessorName(id)); }

struct RowCheck {
  ChipType chip;
  U8 variant;
  const Layout& layout;
  const std::vector<U32>& classIds;  // every field of the class
  std::size_t storage;               // bytes of the class's WithStorage array
  bool deathChecks;                  // also run the fatal checks of this row
  std::vector<U32> rawIds = {};      // fields wider than 64 bits, never written by a U64
};

// Fields wider than 64 bits are checked for place and mask only; their
// accessors are the test's own business.
template <class X>
void checkRow(const RowCheck& row) {
  SCOPED_TRACE("chip " + std::to_string(num(row.chip)) + " variant " + std::to_string(row.variant));
  const U32 chip = num(row.chip);
  const U8 v = row.variant;
  ASSERT_TRUE(X::chipTypeVariantValid(row.chip, v));
  EXPECT_EQ(X::fieldCount(chip, v), row.layout.size());

  std::vector<U8> buf = randomBytes(row.storage, 7);
  X obj(row.chip, buf.data(), static_cast<U16>(row.storage), false, v);
  EXPECT_EQ(obj.fieldCount(), row.layout.size());

  // Every field of the class: present with its place, or absent.
  for (U32 id : row.classIds) {
    SCOPED_TRACE(Hardware::fieldIdAccessorName(id));
    const FieldPlace* f = find(row.layout, id);
    EXPECT_EQ(obj.isFieldValid(id), f != nullptr);
    EXPECT_EQ(obj.fieldWidth(id), f ? f->width : 0u);
    if (f) {
      EXPECT_EQ(obj.fieldOffset(id), f->offset);
    }
  }

  // The mask is the union of the row's fields, in the low 4 x width bytes.
  const unsigned words = X::width(chip, v);
  EXPECT_GE(32 * words, bitsUsed(row.layout));
  std::vector<U8> expectMask = maskBytes(row.layout, 1024);
  const Raw8192 mask = X::allFieldsMask(chip, v);
  EXPECT_TRUE(std::equal(mask.begin(), mask.end(), expectMask.begin()));
  EXPECT_EQ(obj.allFieldsMask(), mask);

  std::vector<U8> allOnes(row.storage, 0xff);
  X full(row.chip, allOnes.data(), static_cast<U16>(row.storage), false, v);
  const auto all = full.getAllFields();
  std::vector<U8> allBytes(sizeof(all));
  std::memcpy(allBytes.data(), &all, sizeof(all));
  EXPECT_TRUE(std::equal(allBytes.begin(), allBytes.end(), expectMask.begin()));

  for (const auto& f : row.layout) {
    if (f.width > 64) continue;
    SCOPED_TRACE(Hardware::fieldIdAccessorName(f.id));
    const Larch::String name = nameOf(f.id);
    // Over a buffer that ends at the field's last byte, a write of the
    // largest value sets exactly the field's bits, and zero clears them.
    std::vector<U8> before = randomBytes(lastByte(f), f.id);
    std::vector<U8> after = before;
    X w(row.chip, after.data(), static_cast<U16>(after.size()), false, v);
    w.setField64(f.id, ones(f.width));
    EXPECT_EQ(changedOutside(before, after, f.offset, f.width), 0u);
    for (unsigned bit = f.offset; bit < f.offset + f.width; ++bit) EXPECT_TRUE(bitOf(after, bit));
    EXPECT_EQ(w.stringField(name, 0), ones(f.width));
    w.stringFieldIs(name, 0);
    EXPECT_EQ(changedOutside(before, after, f.offset, f.width), 0u);
    for (unsigned bit = f.offset; bit < f.offset + f.width; ++bit) EXPECT_FALSE(bitOf(after, bit));
    EXPECT_EQ(w.stringField(name, 0), 0u);
    if (f.width == 8 || f.width == 16 || f.width == 32) {
      // No value check at these widths: bits above the field are dropped.
      w.setField64(f.id, ones(f.width) | (1ULL << f.width));
      EXPECT_EQ(w.stringField(name, 0), ones(f.width));
      EXPECT_EQ(changedOutside(before, after, f.offset, f.width), 0u);
    }
    if (!row.deathChecks) continue;
    std::vector<U8> shortBuf(lastByte(f) - 1, 0);
    X s(row.chip, shortBuf.data(), static_cast<U16>(shortBuf.size()), false, v);
    EXPECT_ASSERTION(s.stringField(name, 0), lenCheck(lastByte(f)));
    EXPECT_ASSERTION(s.setField64(f.id, 0), lenCheck(lastByte(f)));
    if (f.width != 8 && f.width != 16 && f.width != 32 && f.width != 64) {
      EXPECT_ASSERTION(w.setField64(f.id, ones(f.width) + 1), "value <= " + hex(ones(f.width)));
    }
  }

  if (!row.deathChecks) return;
  // A field of the class that this row lacks stops in its own accessor.
  for (U32 id : row.classIds) {
    if (find(row.layout, id)) continue;
    SCOPED_TRACE(Hardware::fieldIdAccessorName(id));
    // A wide field refuses a 64-bit write before it looks at the chip.
    const bool raw = std::find(row.rawIds.begin(), row.rawIds.end(), id) != row.rawIds.end();
    EXPECT_ASSERTION(obj.fieldOffset(id), "0");
    EXPECT_ASSERTION(obj.setField64(id, 0), raw ? "false" : "0");
    EXPECT_ASSERTION(obj.stringField(nameOf(id), 0), "0");
    EXPECT_ASSERTION(obj.stringFieldIs(nameOf(id), 0), raw ? "false" : "0");
  }
  std::vector<U8> shortAll(row.storage - 1, 0xff);
  X s(row.chip, shortAll.data(), static_cast<U16>(shortAll.size()), false, v);
  EXPECT_ASSERTION(s.getAllFields(), lenCheck(static_cast<unsigned>(row.storage)));
}

}  // namespace tc
