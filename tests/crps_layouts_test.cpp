// Layouts and addresses of the per-engine and interface adapter registers of
// the counter processor, swept over every chip and variant of each class.
#include <algorithm>
#include <cstdio>
#include <functional>
#include <string>

#include "TestSupport.h"

namespace {

using namespace Hardware;
using tc::allChips;
using tc::num;

// Chip set of the sheets that a chip belongs to.
std::string chipSet(ChipType c) {
  switch (c) {
    case ChipType::BCM88690_B0:
      return "88690";
    case ChipType::BCM88800_A0:
      return "88800";
    case ChipType::BCM88850_A0:
      return "88850";
    case ChipType::BCM88859_A2:
      return "88859";
    case ChipType::BCM88480_A0:
    case ChipType::BCM88480_B0:
      return "88480x";
    case ChipType::BCM88490_A0:
      return "88490";
    default:
      return "88860x";
  }
}

bool wideChip(ChipType c) {
  return chipSet(c) == "88490" || chipSet(c) == "88860x";
}

// Instances of block CRPS by chip.
U16 crpsInstances(ChipType c) {
  const std::string s = chipSet(c);
  return s == "88690" || s == "88850" ? 2 : s == "88860x" ? 4 : 1;
}

// Bits of the entry that belong to some field, by chip and variant, as the
// layout tables give them.
using UsedBits = std::function<unsigned(ChipType, U8)>;

// Every field valid on the row: counted as fieldCount, tiling bits 0 to
// usedBits - 1 without overlap, together equal to allFieldsMask and to what
// getAllFields keeps of a buffer of all ones. Each field of up to 64 bits is
// written with its largest value and with 0, by id and by name, over random
// bytes, and must change its own bits only; a buffer that ends at the field's
// last byte is long enough.
template <class T>
void sweepRow(ChipType chip, U8 variant, unsigned usedBits, std::size_t storage) {
  SCOPED_TRACE(std::string(chipTypeName(chip)) + " variant " + std::to_string(variant));
  const std::vector<U8> original = tc::randomBytes(storage, variant + 7u * num(chip));
  std::vector<U8> buf = original;
  T obj(chip, buf.data(), static_cast<U16>(buf.size()), false, variant);

  std::vector<U8> covered(storage, 0);
  unsigned count = 0;
  for (U32 id = 0; id <= FieldIds::kLast + 1; ++id) {
    if (!obj.isFieldValid(id)) {
      EXPECT_EQ(obj.fieldWidth(id), 0u) << id;
      continue;
    }
    ++count;
    const unsigned width = obj.fieldWidth(id), offset = obj.fieldOffset(id);
    SCOPED_TRACE(fieldIdAccessorName(id));
    ASSERT_LE(offset + width, 32u * obj.width());
    for (unsigned bit = offset; bit < offset + width; ++bit) {
      EXPECT_FALSE(tc::bitOf(covered, bit)) << "bit " << bit << " in two fields";
      covered[bit / 8] |= static_cast<U8>(1u << (bit % 8));
    }
    if (width > 64) continue;
    const String name(fieldIdAccessorName(id));
    const U64 top = width == 64 ? ~U64{0} : (U64{1} << width) - 1;

    obj.setField64(id, top);
    EXPECT_EQ(tc::changedOutside(original, buf, offset, width), 0u);
    for (unsigned bit = offset; bit < offset + width; ++bit) ASSERT_TRUE(tc::bitOf(buf, bit));
    EXPECT_EQ(obj.stringField(name, 0), top);
    obj.stringFieldIs(name, 0);
    EXPECT_EQ(tc::changedOutside(original, buf, offset, width), 0u);
    EXPECT_EQ(obj.stringField(name, 1), 0u);
    buf = original;

    std::vector<U8> shortBuf((offset + width + 7) / 8, 0);
    T exact(chip, shortBuf.data(), static_cast<U16>(shortBuf.size()), false, variant);
    exact.setField64(id, top);
    EXPECT_EQ(exact.stringField(name, 0), top);
  }
  EXPECT_EQ(count, obj.fieldCount());

  std::vector<U8> expected(storage, 0);
  for (unsigned bit = 0; bit < usedBits; ++bit)
    expected[bit / 8] |= static_cast<U8>(1u << (bit % 8));
  EXPECT_EQ(covered, expected) << "fields don't tile bits 0 to " << usedBits - 1;

  const Raw8192 mask = T::allFieldsMask(num(chip), variant);
  EXPECT_TRUE(std::equal(expected.begin(), expected.end(), mask.begin()));
  EXPECT_TRUE(std::all_of(mask.begin() + storage, mask.end(), [](U8 b) { return b == 0; }));

  std::vector<U8> ones(storage, 0xff);
  T onesObj(chip, ones.data(), static_cast<U16>(ones.size()), false, variant);
  const auto all = onesObj.getAllFields();
  // The result type rounds the widest entry up; the bytes above it stay 0.
  std::vector<U8> allBytes(sizeof all, 0);
  std::memcpy(allBytes.data(), &all, sizeof all);
  expected.resize(sizeof all, 0);
  EXPECT_EQ(allBytes, expected);
  // The class's own array is zero-filled and long enough for the widest entry.
  const typename T::WithStorage own(chip, variant);
  const auto none = own.getAllFields();
  const std::vector<U8> zeros(sizeof none, 0);
  EXPECT_EQ(std::memcmp(&none, zeros.data(), sizeof none), 0);
}

// Sweeps every valid (chip, variant) of the class; the rows must be exactly
// `rows` in number. `storage` is the class's widest entry in bytes.
template <class T>
void sweepClass(std::size_t storage, const UsedBits& used, unsigned rows) {
  unsigned seen = 0;
  for (ChipType chip : allChips())
    for (unsigned v = 0; v < 40; ++v)
      if (T::chipTypeVariantValid(chip, static_cast<U8>(v))) {
        ++seen;
        sweepRow<T>(chip, static_cast<U8>(v), used(chip, static_cast<U8>(v)), storage);
      }
  EXPECT_EQ(seen, rows);
}

TEST(CrpsLayouts, EngineCfgIsOneSequenceCutFourWays) {
  sweepClass<CrpsEngineCfg>(
      44,
      [](ChipType c, U8) {
        const std::string s = chipSet(c);
        return s == "88690"                    ? 228u
               : s == "88800" || s == "88480x" ? 243u
               : wideChip(c)                   ? 345u
                                               : 218u;
      },
      13);
}

TEST(CrpsLayouts, EvictionAndConditionalTrigger) {
  sweepClass<CrpsEngineEvictionCfg>(
      64, [](ChipType, U8) { return 482u; }, 7);
  sweepClass<CrpsEngineConditionalTriggerCfg>(
      8, [](ChipType c, U8) { return wideChip(c) ? 47u : 45u; }, 9);
}

TEST(CrpsLayouts, ExpansionMapHasOneRowPerEngine) {
  sweepClass<CrpsExpansionMapMem>(
      4, [](ChipType c, U8) { return wideChip(c) ? 7u : 6u; }, 366);
}

TEST(CrpsLayouts, InterfaceAdapters) {
  sweepClass<CrpsIfAdapterCfg>(
      20, [](ChipType c, U8) { return wideChip(c) ? 18u : 156u; }, 13);
  sweepClass<CrpsIfAdapterCgmTmCfg>(
      8, [](ChipType, U8) { return 44u; }, 7);
  // Registers of selects are full: fields times the select width.
  sweepClass<CrpsIfAdapterCgmIrppCfg>(
      96, [](ChipType c, U8 v) { return (v < 8 ? 16u : 8u) * (wideChip(c) ? 48u : 36u); }, 130);
  sweepClass<CrpsIfAdapterEgqEppCtrCfg>(
      76, [](ChipType c, U8 v) { return !wideChip(c) ? 577u
                                        : v < 18     ? 446u
                                                     : 337u; },
      6 * 24 + 7 * 32);
}

// ---------------------------------------------------------------------------
// Limits of every field of a row: the length check falls at the field's last
// byte, in getter and setter; the value check is "value <= <largest value>"
// unless the field is 8, 16, 32 or 64 bits wide, where the bits above the
// width are dropped and nothing stops.

std::string hex(U64 v) {
  char text[24];
  std::snprintf(text, sizeof text, "0x%llx", static_cast<unsigned long long>(v));
  return text;
}

template <class T>
void checkLimits(ChipType chip, U8 variant) {
  SCOPED_TRACE(std::string(chipTypeName(chip)) + " variant " + std::to_string(variant));
  typename T::WithStorage probe(chip, variant);
  for (U32 id = 0; id <= FieldIds::kLast; ++id) {
    if (!probe.isFieldValid(id)) continue;
    const unsigned width = probe.fieldWidth(id), offset = probe.fieldOffset(id);
    const unsigned bytes = (offset + width + 7) / 8;
    const String name(fieldIdAccessorName(id));
    SCOPED_TRACE(fieldIdAccessorName(id));
    std::vector<U8> buf(bytes - 1, 0);
    T shortObj(chip, buf.data(), static_cast<U16>(buf.size()), false, variant);
    const std::string length = "len_ >= " + std::to_string(bytes);
    EXPECT_ASSERTION(shortObj.stringField(name, 0), length);
    if (width > 64) continue;
    EXPECT_ASSERTION(shortObj.setField64(id, 0), length);
    const U64 top = width == 64 ? ~U64{0} : (U64{1} << width) - 1;
    if (width % 8 != 0 || width == 24 || width == 48) {
      EXPECT_ASSERTION(probe.setField64(id, top + 1), "value <= " + hex(top));
    } else if (width < 64) {
      probe.setField64(id, top + 1);
      EXPECT_EQ(probe.stringField(name, 0), 0u);
    }
  }
}

TEST(CrpsLimits, EveryFieldOfEveryLayout) {
  for (ChipType c : {ChipType::BCM88690_B0, ChipType::BCM88800_A0, ChipType::BCM88859_A2,
                     ChipType::BCM88870_A0}) {
    checkLimits<CrpsEngineCfg>(c, 0);
    checkLimits<CrpsIfAdapterCfg>(c, 0);
  }
  for (ChipType c : {ChipType::BCM88490_A0, ChipType::BCM88897_C0}) {
    checkLimits<CrpsEngineEvictionCfg>(c, 0);
    checkLimits<CrpsIfAdapterCgmTmCfg>(c, 0);
  }
  for (ChipType c : {ChipType::BCM88850_A0, ChipType::BCM88867_C0})
    checkLimits<CrpsEngineConditionalTriggerCfg>(c, 0);
  checkLimits<CrpsExpansionMapMem>(ChipType::BCM88480_B0, 13);
  checkLimits<CrpsExpansionMapMem>(ChipType::BCM88890_B0, 31);
  for (ChipType c : {ChipType::BCM88690_B0, ChipType::BCM88490_A0})
    for (U8 v : {3, 4, 9}) checkLimits<CrpsIfAdapterCgmIrppCfg>(c, v);
  checkLimits<CrpsIfAdapterEgqEppCtrCfg>(ChipType::BCM88800_A0, 23);
  for (U8 v : {0, 31}) checkLimits<CrpsIfAdapterEgqEppCtrCfg>(ChipType::BCM88860_A0, v);
}

// ---------------------------------------------------------------------------
// Addresses of the register arrays: first and last element of each chip, the
// element past the last, and the last instance.

struct RegisterRow {
  const char* set;
  U32 base;
  U32 elements;
};

template <class T>
void checkRegisterAddresses(const std::vector<RegisterRow>& rows, U8 variant = 0) {
  for (ChipType chip : allChips()) {
    const U32 c = num(chip);
    const RegisterRow* row = nullptr;
    for (const RegisterRow& r : rows)
      if (chipSet(chip) == r.set) row = &r;
    SCOPED_TRACE(chipTypeName(chip));
    U32 address = 7, subBlock = 7, block = 7;
    if (row == nullptr) {
      EXPECT_FALSE(T::getSchanAddress(c, variant, address, subBlock, block, 0, 0, 0));
      EXPECT_EQ(address + subBlock + block, 21u);
      continue;
    }
    const U16 last = static_cast<U16>(row->elements - 1);
    ASSERT_TRUE(T::getSchanAddress(c, variant, address, subBlock, block, 0, 0, 0));
    EXPECT_EQ(address, row->base);
    ASSERT_TRUE(
        T::getSchanAddress(c, variant, address, subBlock, block, crpsInstances(chip) - 1, 0, last));
    EXPECT_EQ(address, row->base + last);
    EXPECT_EQ(T::arrayElements(c, variant), row->elements);
    EXPECT_EQ(T::addrStride(c, variant), 1u);
    EXPECT_EQ(T::instanceCount(c, variant), crpsInstances(chip));
    EXPECT_FALSE(T::hasIdentifier(c, variant, crpsInstances(chip)));
    const std::string limit = "arrayIndex < " + std::to_string(row->elements);
    EXPECT_ASSERTION(T::getSchanAddress(c, variant, address, subBlock, block, 0, 0, last + 1),
                     limit);
    EXPECT_ASSERTION(T::getSchanAddress(c, variant, address, subBlock, block, 0, 1, last + 1),
                     "tableEntry == 0");
    EXPECT_ASSERTION(
        T::getSchanAddress(c, variant, address, subBlock, block, crpsInstances(chip), 0, 0),
        "hasIdentifier( chipType, variant, identifier )");
  }
}

TEST(CrpsAddresses, PerEngineRegisters) {
  checkRegisterAddresses<CrpsEngineCfg>({{"88690", 268, 22},
                                         {"88800", 313, 34},
                                         {"88850", 308, 34},
                                         {"88859", 308, 34},
                                         {"88480x", 288, 14},
                                         {"88490", 318, 22},
                                         {"88860x", 338, 32}});
  checkRegisterAddresses<CrpsEngineEvictionCfg>({{"88490", 296, 22}, {"88860x", 306, 32}});
  checkRegisterAddresses<CrpsEngineConditionalTriggerCfg>(
      {{"88850", 549, 34}, {"88859", 549, 34}, {"88490", 491, 22}, {"88860x", 635, 32}});
}

TEST(CrpsAddresses, InterfaceAdapterRegisters) {
  checkRegisterAddresses<CrpsIfAdapterCfg>({{"88690", 378, 1},
                                            {"88800", 471, 1},
                                            {"88850", 466, 1},
                                            {"88859", 466, 1},
                                            {"88480x", 366, 1},
                                            {"88490", 428, 1},
                                            {"88860x", 552, 1}});
  checkRegisterAddresses<CrpsIfAdapterCgmTmCfg>({{"88490", 436, 1}, {"88860x", 560, 1}});
  // First and last variant of each register of the variant-selected classes.
  const std::vector<std::vector<RegisterRow>> irpp = {{{"88690", 382, 1},
                                                       {"88800", 475, 1},
                                                       {"88850", 470, 1},
                                                       {"88859", 470, 1},
                                                       {"88480x", 370, 1},
                                                       {"88490", 434, 1},
                                                       {"88860x", 558, 1}},
                                                      {{"88690", 384, 1},
                                                       {"88800", 477, 1},
                                                       {"88850", 472, 1},
                                                       {"88859", 472, 1},
                                                       {"88480x", 372, 1},
                                                       {"88490", 438, 1},
                                                       {"88860x", 562, 1}},
                                                      {{"88690", 386, 1},
                                                       {"88800", 479, 1},
                                                       {"88850", 474, 1},
                                                       {"88859", 474, 1},
                                                       {"88480x", 374, 1},
                                                       {"88490", 440, 1},
                                                       {"88860x", 564, 1}}};
  const U8 irppVariants[3][2] = {{0, 3}, {4, 7}, {8, 9}};
  for (int g = 0; g < 3; ++g)
    for (U8 v : irppVariants[g]) checkRegisterAddresses<CrpsIfAdapterCgmIrppCfg>(irpp[g], v);

  const std::vector<RegisterRow> narrow = {{"88690", 380, 1},
                                           {"88800", 473, 1},
                                           {"88850", 468, 1},
                                           {"88859", 468, 1},
                                           {"88480x", 368, 1}};
  std::vector<RegisterRow> low = narrow, high = narrow;
  low.insert(low.end(), {{"88490", 430, 1}, {"88860x", 554, 1}});
  high.insert(high.end(), {{"88490", 432, 1}, {"88860x", 556, 1}});
  checkRegisterAddresses<CrpsIfAdapterEgqEppCtrCfg>(low, 0);
  checkRegisterAddresses<CrpsIfAdapterEgqEppCtrCfg>(low, 17);
  checkRegisterAddresses<CrpsIfAdapterEgqEppCtrCfg>(high, 18);
  checkRegisterAddresses<CrpsIfAdapterEgqEppCtrCfg>(high, 23);
  checkRegisterAddresses<CrpsIfAdapterEgqEppCtrCfg>({{"88490", 432, 1}, {"88860x", 556, 1}}, 31);
}

// The block map of the counter processor: the pair depends on the chip and
// the identifier, not on the class, the variant or the element.
TEST(CrpsAddresses, SubBlockAndBlockFollowTheInstance) {
  U32 address, subBlock, block;
  ASSERT_TRUE(CrpsEngineCfg::getSchanAddress(10, 0, address, subBlock, block, 0, 0, 21));
  EXPECT_EQ(std::make_pair(subBlock, block), std::make_pair(2u, 1u));
  ASSERT_TRUE(CrpsEngineCfg::getSchanAddress(10, 0, address, subBlock, block, 1, 0, 0));
  EXPECT_EQ(std::make_pair(subBlock, block), std::make_pair(16u, 8u));
  ASSERT_TRUE(CrpsExpansionMapMem::getSchanAddress(26, 31, address, subBlock, block, 3, 1023, 31));
  EXPECT_EQ(std::make_pair(subBlock, block), std::make_pair(0u, 873u));
  ASSERT_TRUE(
      CrpsIfAdapterEgqEppCtrCfg::getSchanAddress(17, 31, address, subBlock, block, 2, 0, 0));
  EXPECT_EQ(std::make_pair(subBlock, block), std::make_pair(0u, 617u));
}

}  // namespace
