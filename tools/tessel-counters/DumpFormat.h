// Dumps of a chip's registers and memories, as a script that reads them
// writes them down: one entry per line,
//
//   BLOCK[.SUBBLOCK] ADDRESS WORD...        617.0 0x21c 0x000000ff
//
// block, sub-block and address decimal or 0x hex, each word as a register
// read prints it (Entry.h), '#' comments and blank lines; or the same as JSON
// Lines, {"block": 617, "subBlock": 0, "address": 540, "words": [255]}. An
// entry without a sub-block is at its address on any sub-block of the block.
#pragma once

#include <string>
#include <vector>

#include "ModelJson.h"

namespace Tool {

struct DumpEntry {
  U32 block = 0;
  bool anySubBlock = true;
  U32 subBlock = 0;
  U32 address = 0;
  std::vector<U32> words;
};

// A line of a dump that holds an entry: the entry, or why it can't be read.
struct DumpLine {
  std::size_t line = 0;  // from 1
  DumpEntry entry;
  std::string problem;  // empty when the entry was read
};

// The lines of the dump that hold an entry or can't be read, in order; blank
// lines and comments are left out.
std::vector<DumpLine> readDump(const std::string& text);

// "617.0 0x21c", or "617 0x21c" without a sub-block: where the entry lies.
std::string dumpPlace(const DumpEntry& entry);
// The entry's line in each form: "617.0 0x21c 0x000000ff", and its JSON.
std::string dumpText(const DumpEntry& entry);
Json dumpJson(const DumpEntry& entry);

}  // namespace Tool
