// The fields of one accessor as the library answers them, how they lie over
// each other, and their values in the accessor's buffer.
#pragma once

#include <TesselCountersOrrery.h>

#include <string>
#include <utility>
#include <vector>

namespace Tool {

struct Field {
  U32 id;
  U16 offset;
  U16 width;
  std::string name;          // accessor name, "engineNMode"
  std::string hardwareName;  // "ENGINE_N_MODE"
};

// The fields of class `cls` valid on the object, by offset, wider before
// narrower: all of them, or those among `ids` (ascending).
std::vector<Field> fieldsOf(const std::string& cls, const Orrery::AsicBase& object);
std::vector<Field> fieldsOf(const std::string& cls, const Orrery::AsicBase& object,
                            const std::vector<U32>& ids);

// How fields lie over each other: for each field (in the order of
// fieldsOf), the narrowest other field that holds all of its bits (-1 if
// none), its depth in that nesting, and the fields it crosses only in part.
struct FieldView {
  int parent = -1;
  int depth = 0;
  std::vector<int> crosses;
};
std::vector<FieldView> viewsOf(const std::vector<Field>& fields);

// The field's value, read through the library, as little-endian bytes.
std::vector<U8> readField(const Orrery::AsicBase& object, const Field& field);

// Ranges "a..b" (or "a") of bits set in `bytes` (bits below `bits`) and clear in `mask`.
std::vector<std::pair<unsigned, unsigned>> strayBits(const U8* bytes, const U8* mask,
                                                     unsigned bits);
std::string rangeText(unsigned first, unsigned last);

}  // namespace Tool
