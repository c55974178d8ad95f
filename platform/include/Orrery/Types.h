// Orrery stand-in: small value types shared by all accessors.
#pragma once

#include <Hardware/Types.h>

namespace Orrery {

// The pair that failure messages stream: chip number, then variant.
struct ChipAndVariant {
  Hardware::ChipType chipType;
  U8 variant;
};

// One run of existing table entries.
struct EntrySpan {
  U32 firstEntry;
  U32 size;
};

// Which entries of a memory exist: a pointer to constant span records and their count.
struct EntrySpans {
  const EntrySpan* spans;
  U32 count;
};

}  // namespace Orrery
