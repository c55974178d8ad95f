// Fennel stand-in: the slab allocator, here plain malloc and free.
#pragma once

#include <Hardware/Types.h>

#include <typeinfo>

namespace Fennel {

// Returns nullptr when memory can't be had.
void* slabAllocOrStdMalloc(U32 bytes);
void slabFreeOrStdFree(void* p, const std::type_info& type);

namespace Testing {
// Makes the n-th allocation from now on (1 = the next one) fail; 0 turns it off.
void failAllocationNumber(U64 n);
// Allocations handed out and not yet taken back.
U64 liveAllocations();
// Allocations handed out since the start.
U64 allocationCount();
}  // namespace Testing

}  // namespace Fennel
