// Name-keyed factory: two maps from class name to a maker and to a validity
// test, each built on first use under the guard of a function-local static.
#include <Larch/Allocator.h>
#include <TesselCounters/Factory.h>
#include <TesselCountersOrrery.h>

#include <functional>
#include <iterator>
#include <memory>
#include <unordered_map>
#include <utility>

#include "AccessorImpl.h"

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

ObjMap buildObjMap() {
#define TC_FACTORY_ENTRY(X)                                    \
  {#X, [](Hardware::ChipType chipType, U8 variant) {           \
     return std::shared_ptr<Orrery::AsicBase>(                 \
         std::make_shared<X::WithStorage>(chipType, variant)); \
   }},
  const std::pair<const Larch::String, ObjFunction> entries[] = {
#include "FactoryEntries.inc"
  };
#undef TC_FACTORY_ENTRY
  return ObjMap(std::begin(entries), std::end(entries), 0);
}

ValidMap buildValidMap() {
#define TC_FACTORY_ENTRY(X) {#X, &X::chipTypeVariantValid},
  const std::pair<const Larch::String, ValidFunction> entries[] = {
#include "FactoryEntries.inc"
  };
#undef TC_FACTORY_ENTRY
  return ValidMap(std::begin(entries), std::end(entries), 0);
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
