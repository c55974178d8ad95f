// The names of all accessor classes, in ASCII order.
#pragma once

#include <Hardware/Types.h>

namespace Hardware {

U32 accessorClassCount();
// nullptr past the last class.
const char* accessorClassName(U32 index);

}  // namespace Hardware
