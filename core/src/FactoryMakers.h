// The factory's maker and validity test of each class, defined in generated
// units of a few classes each and held by the factory's maps.
#pragma once

#include <Hardware/Types.h>
#include <Orrery/AsicBase.h>

#include <memory>

#include "AccessorImpl.h"

#define TC_FACTORY_ENTRY(X)                                                                    \
  namespace TesselCounters {                                                                   \
  TC_INTERNAL std::shared_ptr<Orrery::AsicBase> make##X(Hardware::ChipType chipType, U8 variant); \
  TC_INTERNAL bool valid##X(Hardware::ChipType chipType, U8 variant);                          \
  }
#include "FactoryEntries.inc"
#undef TC_FACTORY_ENTRY
