// The library's queries that never stop, over every chip and variant byte
// and any identifier and field id: each class's chipTypeVariantValid, which
// the factory's must repeat; on a pair the class has, its static queries,
// hasIdentifier and isFieldValid, each held against the others: the width
// against regWidth or tableWidth, tableVariantCount against the variants
// valid on the chip, fieldCount against the identifiers valid, the mask
// against the fields' offsets and widths, the entry spans against the
// entries (the whole of a pair once, then what the input picks). In front of
// the factory, whose two functions stop on an unknown name, the tool's
// resolution of class, chip and variant names must hand it only a class
// that exists on that chip and variant.
#include <fuzzer/FuzzedDataProvider.h>

#include <algorithm>
#include <iostream>
#include <set>
#include <tuple>

#include "Catalog.h"
#include "Dump.h"
#include "FuzzSupport.h"

namespace {

using ApiDump::ClassOps;

const std::vector<ClassOps>& classes() {
  static const std::vector<ClassOps> all = ApiDump::allClasses();
  return all;
}

const ClassOps* classNamed(const std::string& name) {
  const auto k = std::find_if(classes().begin(), classes().end(),
                              [&](const ClassOps& c) { return name == c.name; });
  return k == classes().end() ? nullptr : &*k;
}

// The whole of a pair, once: fieldCount is the number of identifiers valid,
// the mask the union of their bits, nothing past the width; the spans lie
// in order inside the entries.
void wholePair(const ClassOps& k, U8 chip, U8 variant) {
  static std::set<std::tuple<const ClassOps*, U8, U8>> done;
  if (!done.insert({&k, chip, variant}).second) return;
  const auto object = Hardware::stringObj(k.name, static_cast<Hardware::ChipType>(chip), variant);
  Raw8192 bits{};
  U32 valid = 0;
  for (U32 id = 0; id <= Hardware::FieldIds::kLast; ++id) {
    if (!object->isFieldValid(id)) continue;
    ++valid;
    const unsigned offset = object->fieldOffset(id), width = object->fieldWidth(id);
    FUZZ_CHECK(width > 0 && offset + width <= 32u * object->width());
    for (unsigned b = offset; b < offset + width; ++b) bits[b / 8] |= U8(1u << (b % 8));
  }
  FUZZ_CHECK(valid == k.fieldCount(chip, variant) && valid == object->fieldCount());
  FUZZ_CHECK(bits == k.allFieldsMask(chip, variant) && bits == object->allFieldsMask());
  for (unsigned b = 32u * k.width(chip, variant); b < 8 * bits.size(); ++b)
    FUZZ_CHECK(((bits[b / 8] >> (b % 8)) & 1) == 0);
  if (!k.entrySpans) return;
  const Orrery::EntrySpans spans = k.entrySpans(chip, variant);
  U32 next = 0;
  for (U32 i = 0; i < spans.count; ++i) {
    FUZZ_CHECK(spans.spans[i].firstEntry >= next && spans.spans[i].size > 0);
    next = spans.spans[i].firstEntry + spans.spans[i].size;
  }
  FUZZ_CHECK(spans.count > 0 && next <= k.entries(chip, variant));
}

// A pair the class has: every static query answers, the widths agree, and
// the geometry has room for its first and last address.
void askPair(const ClassOps& k, U8 chip, U8 variant, U32 id, U32 identifier) {
  wholePair(k, chip, variant);
  for (auto query : {k.regWidth, k.tableWidth})
    if (query) FUZZ_CHECK(query(chip, variant) == k.width(chip, variant));
  for (auto query : {k.maxIdentifier, k.addrStride, k.indexMin, k.arrayIndexMin})
    if (query) query(chip, variant);
  const U32 entries = k.entries ? k.entries(chip, variant) : 1;
  const U16 instances = k.instanceCount(chip, variant);
  const U32 elements = k.arrayElements(chip, variant);
  FUZZ_CHECK(k.width(chip, variant) > 0 && entries > 0 && instances > 0 && elements > 0);
  FUZZ_CHECK(k.hasIdentifier(chip, variant, identifier) == (identifier < instances));
  U32 address = 0, subBlock = 0, block = 0;
  FUZZ_CHECK(k.getSchanAddress(chip, variant, address, subBlock, block,
                               static_cast<U16>(instances - 1), entries - 1,
                               static_cast<U16>(elements - 1)));
  const auto object = Hardware::stringObj(k.name, static_cast<Hardware::ChipType>(chip), variant);
  FUZZ_CHECK(object->hasIdentifier(identifier) == (identifier < instances));
  // Beyond the identifiers wholePair asks, no field.
  FUZZ_CHECK(!object->isFieldValid(id) || id <= Hardware::FieldIds::kLast);
}

void askClass(const ClassOps& k, U8 chip, U8 variant, U32 id, U32 identifier) {
  const auto type = static_cast<Hardware::ChipType>(chip);
  const bool valid = k.valid(type, variant);
  FUZZ_CHECK(Hardware::chipTypeVariantValid(k.name, type, variant) == valid);
  if (k.tableVariantCount) {
    // A memory's table variants are its variants on the chip, 0 to count - 1.
    const U32 count = k.tableVariantCount(chip);
    FUZZ_CHECK(valid == (variant < count));
    FUZZ_CHECK(count == 0 || (k.valid(type, static_cast<U8>(count - 1)) &&
                              (count == 256 || !k.valid(type, static_cast<U8>(count)))));
  }
  U32 address = 0, subBlock = 0, block = 0;
  if (!valid) FUZZ_CHECK(!k.getSchanAddress(chip, variant, address, subBlock, block, 0, 0, 0));
  if (valid) askPair(k, chip, variant, id, identifier);
}

// The tool's names: a class it accepts is a class of the library, before
// any call of the factory; a target it resolves is a pair the class has.
void resolve(FuzzedDataProvider& in) {
  Tool::Args args;
  args.positional.push_back(in.ConsumeRandomLengthString(64));
  args.options["--chip"] = in.ConsumeRandomLengthString(16);
  if (in.ConsumeBool()) args.options["--variant"] = in.ConsumeRandomLengthString(8);
  try {
    FUZZ_CHECK(classNamed(Tool::parseClass(args.positional[0])) != nullptr);
    FUZZ_CHECK(Hardware::chipTypeName(Tool::parseChip(args.options["--chip"])) != nullptr);
    const Tool::Target t = Tool::resolveTarget(args);
    const ClassOps* k = classNamed(t.cls);
    FUZZ_CHECK(k && k->valid(t.chip, t.variant) && t.object);
  } catch (const Tool::UsageError&) {
  }
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  std::cerr.rdbuf(nullptr);  // the tool's notes
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  FuzzedDataProvider in(data, size);
  const U8 chip = in.ConsumeIntegral<U8>(), variant = in.ConsumeIntegral<U8>();
  const U32 id = in.ConsumeIntegral<U32>(), identifier = in.ConsumeIntegral<U32>();
  for (const auto& k : classes()) askClass(k, chip, variant, id, identifier);
  resolve(in);
  return 0;
}
