// The published description of the catalogue against the library's own
// answers: every (chip, variant) that it lists and no other is valid, every
// field it lists is a field of the class somewhere and no other identifier
// is, and each field's value type is the narrowest that holds its widest
// layout.
#include <cstring>
#include <map>
#include <set>

#include "TestSupport.h"

namespace {

const Hardware::CatalogueDescription& description() {
  return Hardware::catalogueDescription();
}

Hardware::FieldType narrowestType(unsigned bits) {
  using T = Hardware::FieldType;
  const std::pair<unsigned, T> types[] = {{8, T::U8},       {16, T::U16},      {32, T::U32},
                                          {64, T::U64},     {128, T::Raw128},  {256, T::Raw256},
                                          {512, T::Raw512}};
  for (const auto& [size, type] : types)
    if (bits <= size) return type;
  ADD_FAILURE() << bits << " bits fit no field type";
  return T::Raw512;
}

TEST(Description, ChipsAreThePlatformsNamedChipsByNumber) {
  const auto& d = description();
  std::set<unsigned> described;
  for (U32 i = 0; i < d.chipCount; ++i) {
    if (i) {
      EXPECT_LT(tc::num(d.chips[i - 1].chip), tc::num(d.chips[i].chip));
    }
    EXPECT_STREQ(Hardware::chipTypeName(d.chips[i].chip), d.chips[i].name);
    described.insert(tc::num(d.chips[i].chip));
  }
  for (unsigned n = 0; n < 256; ++n)
    EXPECT_EQ(described.count(n) == 1,
              Hardware::chipTypeName(static_cast<Hardware::ChipType>(n)) != nullptr)
        << n;
  EXPECT_EQ(d.chipCount, tc::allChips().size());
}

TEST(Description, ClassesAreTheFactorysNamesInAsciiOrderAndFoundByName) {
  const auto& d = description();
  ASSERT_EQ(d.classCount, Hardware::accessorClassCount());
  for (U32 i = 0; i < d.classCount; ++i) {
    const auto& c = d.classes[i];
    EXPECT_STREQ(c.name, Hardware::accessorClassName(i));
    if (i) {
      EXPECT_LT(std::strcmp(d.classes[i - 1].name, c.name), 0);
    }
    EXPECT_EQ(Hardware::findClassDescription(c.name), &c);
    const std::string name = c.name;
    for (const std::string& near : {name.substr(0, name.size() - 1), name + "x", "x" + name})
      EXPECT_EQ(Hardware::findClassDescription(near.c_str()), nullptr) << near;
    EXPECT_GT(std::strlen(c.summary), 0u) << c.name;
    EXPECT_EQ(std::strchr(c.summary, '\n'), nullptr) << c.name;
    EXPECT_GT(std::strlen(c.subsystem), 0u) << c.name;
  }
  EXPECT_EQ(Hardware::findClassDescription(nullptr), nullptr);
  EXPECT_EQ(Hardware::findClassDescription(""), nullptr);
}

// For each class, every variant byte of every chip: valid exactly where listed.
TEST(Description, PairsAreExactlyTheValidChipsAndVariants) {
  const auto& d = description();
  std::size_t pairs = 0;
  for (U32 i = 0; i < d.classCount; ++i) {
    const auto& c = d.classes[i];
    std::set<std::pair<unsigned, unsigned>> listed;
    bool several = false;
    for (U32 p = 0; p < c.pairCount; ++p) {
      several = several || c.pairs[p].variant != 0;
      const auto key = std::make_pair(tc::num(c.pairs[p].chip), unsigned{c.pairs[p].variant});
      if (p) {
        const auto before =
            std::make_pair(tc::num(c.pairs[p - 1].chip), unsigned{c.pairs[p - 1].variant});
        EXPECT_LT(before, key) << c.name;
      }
      listed.insert(key);
    }
    // Every variant of every named chip; a listed pair is on a named chip.
    for (U32 k = 0; k < description().chipCount; ++k)
      for (unsigned v = 0; v < 256; ++v) {
        const unsigned chip = tc::num(description().chips[k].chip);
        ASSERT_EQ(listed.count({chip, v}) == 1,
                  Hardware::chipTypeVariantValid(c.name, static_cast<Hardware::ChipType>(chip),
                                                 static_cast<U8>(v)))
            << c.name << " chip " << chip << " variant " << v;
      }
    for (const auto& [chip, v] : listed)
      ASSERT_NE(Hardware::chipTypeName(static_cast<Hardware::ChipType>(chip)), nullptr) << c.name;
    // What the variants stand for is said exactly where there are such.
    EXPECT_EQ(several, std::strlen(c.variants) > 0) << c.name;
    EXPECT_EQ(std::strchr(c.variants, '\n'), nullptr) << c.name;
    pairs += listed.size();
  }
  EXPECT_GT(pairs, d.classCount);
}

// Kind, fields and value types against the accessors of every listed pair.
TEST(Description, KindFieldsAndTypesAreTheAccessorsAnswers) {
  const auto& d = description();
  std::size_t fields = 0;
  for (U32 i = 0; i < d.classCount; ++i) {
    const auto& c = d.classes[i];
    std::map<U32, unsigned> widest;  // described id -> widest width over the pairs
    for (U32 f = 0; f < c.fieldCount; ++f) {
      if (f) {
        EXPECT_LT(c.fields[f - 1].id, c.fields[f].id) << c.name;
      }
      EXPECT_STREQ(c.fields[f].accessorName(), Hardware::fieldIdAccessorName(c.fields[f].id));
      EXPECT_STREQ(c.fields[f].hardwareName(), Hardware::fieldIdName(c.fields[f].id));
      ASSERT_NE(c.fields[f].hardwareName(), nullptr) << c.name;
      widest[c.fields[f].id] = 0;
    }
    for (U32 p = 0; p < c.pairCount; ++p) {
      const auto o = Hardware::stringObj(c.name, c.pairs[p].chip, c.pairs[p].variant);
      EXPECT_EQ(o->isTable(), c.kind == Hardware::ClassKind::Memory) << c.name;
      unsigned valid = 0;
      for (U32 id = Hardware::FieldIds::kFirst; id <= Hardware::FieldIds::kLast; ++id) {
        if (!o->isFieldValid(id)) continue;
        ++valid;
        ASSERT_EQ(widest.count(id), 1u) << c.name << " has field " << id << " but doesn't list it";
        widest[id] = std::max<unsigned>(widest[id], o->fieldWidth(id));
      }
      EXPECT_EQ(valid, o->fieldCount()) << c.name;
    }
    for (U32 f = 0; f < c.fieldCount; ++f) {
      const unsigned bits = widest[c.fields[f].id];
      EXPECT_GT(bits, 0u) << c.name << " lists field " << c.fields[f].id << " valid nowhere";
      EXPECT_EQ(c.fields[f].type, narrowestType(bits)) << c.name << " " << c.fields[f].id;
      EXPECT_EQ(Hardware::isRawType(c.fields[f].type), bits > 64);
    }
    fields += c.fieldCount;
  }
  EXPECT_GT(fields, d.classCount);
}

}  // namespace
