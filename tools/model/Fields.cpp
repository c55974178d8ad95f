#include "Fields.h"

#include <algorithm>

#include "Catalogue.h"

namespace Tool {

std::vector<Field> fieldsOf(const std::string& cls, const Orrery::AsicBase& object) {
  std::vector<U32> ids;
  const auto& d = classOf(cls);
  for (U32 i = 0; i < d.fieldCount; ++i) ids.push_back(d.fields[i].id);
  return fieldsOf(cls, object, ids);
}

std::vector<Field> fieldsOf(const std::string& cls, const Orrery::AsicBase& object,
                            const std::vector<U32>& ids) {
  std::vector<Field> rows;
  for (U32 id : ids)
    if (describedField(cls, id) && object.isFieldValid(id))
      rows.push_back({id, object.fieldOffset(id), object.fieldWidth(id),
                      Hardware::fieldIdAccessorName(id), Hardware::fieldIdName(id)});
  std::sort(rows.begin(), rows.end(), [](const Field& x, const Field& y) {
    if (x.offset != y.offset) return x.offset < y.offset;
    if (x.width != y.width) return x.width > y.width;  // aggregates before their elements
    return x.id < y.id;
  });
  return rows;
}

std::vector<FieldView> viewsOf(const std::vector<Field>& fields) {
  std::vector<FieldView> views(fields.size());
  for (std::size_t i = 0; i < fields.size(); ++i) {
    const unsigned lo = fields[i].offset, hi = lo + fields[i].width;
    for (std::size_t j = 0; j < fields.size(); ++j) {
      if (j == i) continue;
      const unsigned olo = fields[j].offset, ohi = olo + fields[j].width;
      if (ohi <= lo || hi <= olo) continue;
      // Fields are sorted wider first at one offset, so of two equal ranges
      // the earlier one holds the later.
      const bool holds = olo <= lo && hi <= ohi && (ohi - olo > hi - lo || j < i);
      if (holds) {
        const int p = views[i].parent;
        if (p < 0 || fields[j].width < fields[static_cast<std::size_t>(p)].width)
          views[i].parent = static_cast<int>(j);
      } else if (!(lo <= olo && ohi <= hi)) {
        views[i].crosses.push_back(static_cast<int>(j));
      }
    }
  }
  for (std::size_t i = 0; i < fields.size(); ++i)
    for (int p = views[i].parent; p >= 0; p = views[static_cast<std::size_t>(p)].parent)
      ++views[i].depth;
  return views;
}

std::vector<U8> readField(const Orrery::AsicBase& object, const Field& field) {
  // The library hands out a field 64 bits at a time; a field of up to 64 bits
  // is the whole answer of word 0.
  std::vector<U8> value;
  const unsigned words = (field.width + 63u) / 64u;
  for (unsigned w = 0; w < words; ++w) {
    const U64 part = object.stringField(field.name.c_str(), static_cast<U16>(w));
    for (int b = 0; b < 8; ++b) value.push_back(static_cast<U8>(part >> (8 * b)));
  }
  value.resize((field.width + 7u) / 8u);
  return value;
}

std::vector<std::pair<unsigned, unsigned>> strayBits(const U8* bytes, const U8* mask,
                                                     unsigned bits) {
  std::vector<std::pair<unsigned, unsigned>> out;
  for (unsigned k = 0; k < bits; ++k) {
    const bool stray = ((bytes[k / 8] & ~mask[k / 8]) >> (k % 8)) & 1u;
    if (!stray) continue;
    if (!out.empty() && out.back().second + 1 == k)
      out.back().second = k;
    else
      out.push_back({k, k});
  }
  return out;
}

std::string rangeText(unsigned first, unsigned last) {
  return first == last ? std::to_string(first)
                       : std::to_string(first) + ".." + std::to_string(last);
}

}  // namespace Tool
