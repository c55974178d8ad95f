// Accessors by class name.
#pragma once

#include <Hardware/Types.h>
#include <Larch/String.h>
#include <Orrery/AsicBase.h>

#include <memory>

namespace Hardware {

// A new accessor of the class called `name` over a zero-filled buffer of its
// own, for that chip and variant. Stops on a name that isn't a class, and in
// the class's constructor on a pair that the class doesn't know.
std::shared_ptr<Orrery::AsicBase> stringObj(Larch::String name, Hardware::ChipType chipType,
                                            U8 variant);

// Whether the class called `name` exists on that chip and variant. Stops on a
// name that isn't a class.
bool chipTypeVariantValid(Larch::String name, Hardware::ChipType chipType, U8 variant);

}  // namespace Hardware
