// Name-keyed factory: two maps from class name to a maker and to a validity
// test, each built on first use under the guard of a function-local static.
#include <Larch/Allocator.h>
#include <TesselCounters/Factory.h>

#include <functional>
#include <memory>
#include <ostream>
#include <unordered_map>
#include <utility>

#include "AccessorImpl.h"
#include "FactoryMakers.h"

namespace Hardware {
namespace {

using ObjFunction = std::function<std::shared_ptr<Orrery::AsicBase>(Hardware::ChipType, U8)>;
using ValidFunction = std::function<bool(Hardware::ChipType, U8)>;

using ObjMap = std::unordered_map<Larch::String, ObjFunction, std::hash<Larch::String>,
                                  std::equal_to<Larch::String>,
                                  Larch::Allocator<std::pair<const Larch::String, ObjFunction>>>;
using ValidMap =
    std::unordered_map<Larch::String, ValidFunction, std::hash<Larch::String>,
                       std::equal_to<Larch::String>,
                       Larch::Allocator<std::pair<const Larch::String, ValidFunction>>>;

// Whether two names of a map share a bucket; bucketSize(b) is the size of bucket b.
bool anyShared(std::size_t buckets, const std::function<std::size_t(std::size_t)>& bucketSize) {
  for (std::size_t b = 0; b < buckets; ++b)
    if (bucketSize(b) > 1) return true;
  return false;
}

// Spreads the names over enough buckets that none shares one. A lookup then
// hashes the name once and compares it once: in a shared bucket it would
// also hash each name ahead of the one it looks for, since the nodes don't
// keep their hash codes. The names and the hash are fixed, so the number of
// buckets comes out the same on every run. The growth stops at a thousand
// buckets a name, so that two names of one hash code would only share a
// bucket (a lookup stays right, just slower), not grow it without end.
void spreadOverBuckets(ObjMap& map) {
  const auto size = [&map](std::size_t b) { return map.bucket_size(b); };
  while (anyShared(map.bucket_count(), size) && map.bucket_count() < 1024 * map.size())
    map.rehash(2 * map.bucket_count());
}

void spreadOverBuckets(ValidMap& map) {
  const auto size = [&map](std::size_t b) { return map.bucket_size(b); };
  while (anyShared(map.bucket_count(), size) && map.bucket_count() < 1024 * map.size())
    map.rehash(2 * map.bucket_count());
}

// The classes as data: a row of constants each, however many there are, so
// that this unit's code doesn't grow with the catalogue.
struct Entry {
  const char* name;
  std::shared_ptr<Orrery::AsicBase> (*make)(Hardware::ChipType, U8);
  bool (*valid)(Hardware::ChipType, U8);
};

#define TC_FACTORY_ENTRY(X) {#X, &TesselCounters::make##X, &TesselCounters::valid##X},
const Entry kEntries[] = {
#include "FactoryEntries.inc"
};
#undef TC_FACTORY_ENTRY

ObjMap buildObjMap() {
  ObjMap map;
  for (const Entry& entry : kEntries) map.emplace(entry.name, entry.make);
  spreadOverBuckets(map);
  return map;
}

ValidMap buildValidMap() {
  ValidMap map;
  for (const Entry& entry : kEntries) map.emplace(entry.name, entry.valid);
  spreadOverBuckets(map);
  return map;
}

}  // namespace

// NOLINTNEXTLINE(performance-unnecessary-value-param): callers hand over the name by value.
std::shared_ptr<Orrery::AsicBase> stringObj(Larch::String name, Hardware::ChipType chipType,
                                            U8 variant) {
  static const ObjMap objMap = buildObjMap();
  const auto objMapIter = objMap.find(name);
  TC_SASSERT(objMapIter != objMap.end(), << "invalid name given: " << name);
  return objMapIter->second(chipType, variant);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): callers hand over the name by value.
bool chipTypeVariantValid(Larch::String name, Hardware::ChipType chipType, U8 variant) {
  static const ValidMap objMap = buildValidMap();
  const auto objMapIter = objMap.find(name);
  TC_SASSERT(objMapIter != objMap.end(), << "invalid name given: " << name);
  return objMapIter->second(chipType, variant);
}

}  // namespace Hardware
