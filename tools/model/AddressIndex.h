// A chip's register space read backwards: from an S-channel block, sub-block
// and address to the register or memory that lies there, with its variants,
// instance, array element and table entry.
//
// The index is built from the model's classes and the accessors' own
// addresses (getSchanAddress of element 0 and 1, entry 0 and 1 of every
// instance), so it answers what the library answers.
#pragma once

#include <string>
#include <vector>

#include "Catalogue.h"

namespace Tool {

// One class, variant and block instance: where its entries lie. Entry t of
// array element a is at base + a * stride + t, for a < elements, t < entries.
struct Placement {
  U32 classIndex;  // in the description's classes
  U8 variant;
  U16 instance;
  U32 subBlock;
  U32 block;
  U32 base;
  U32 elements;
  U32 stride;
  U32 entries;  // 1 for a register

  const char* className() const;
};

// What lies at one address: a class, the variants that share the address,
// and where in the class.
struct Location {
  const char* cls;  // the description's name of the class
  std::vector<U8> variants;
  U16 instance;
  U32 subBlock;
  U32 arrayElement;
  U32 tableEntry;
};

class AddressIndex {
 public:
  // The index of one chip; the index of each chip is built once, on first
  // use, and kept.
  static const AddressIndex& of(Hardware::ChipType chip);
  explicit AddressIndex(Hardware::ChipType chip);

  Hardware::ChipType chip() const { return chip_; }

  // Everything at the address of the block, on every sub-block or the one
  // given, by class, instance, sub-block, element and entry.
  std::vector<Location> locate(U32 block, U32 address, const U32* subBlock = nullptr) const;

  // A range of addresses of one block over which the same placements lie.
  struct Segment {
    U32 first;
    U32 last;
    std::vector<const Placement*> placements;
  };
  // The block's segments in address order (no segment where nothing lies),
  // those with a placement on the sub-block if one is given.
  std::vector<Segment> blockMap(U32 block, const U32* subBlock = nullptr) const;
  // The nearest segments below and above the address (null where none).
  static std::pair<const Segment*, const Segment*> neighbours(const std::vector<Segment>& map,
                                                              U32 address);

  // The blocks with anything of the catalogue, ascending.
  std::vector<U32> blocks() const;
  // How many distinct (block, sub-block, address) hold something.
  std::size_t entryCount() const;
  const std::vector<Placement>& placements() const { return placements_; }

  // Placements alike but for their variant (the 32 variants of an expansion
  // map at one place): found and described once.
  struct Group {
    std::vector<U32> placements;  // indices into placements(), ascending
    std::vector<U8> variants;     // theirs, ascending
  };
  const std::vector<Group>& groups() const { return groups_; }

  // What lies in a segment: per class, instance and sub-block, its variants
  // together, where the segment starts and ends in it.
  struct Stretch {
    Location first;  // with every variant of the stretch
    Location last;
    U32 entries;  // table entries of an element; 1 for a register
  };
  static std::vector<Stretch> contents(const Segment& segment);
  // A line per stretch: "CrpsEngineCfg variants 0-3, instance 1, sub-block 0,
  // elements 2..5".
  static std::vector<std::string> describe(const Segment& segment);

 private:
  struct Run {  // contiguous addresses of one group
    U32 block, first, last;
    U32 group;
  };
  struct Piece {  // disjoint addresses of one block with the same runs
    U32 block, first, last;
    U32 begin, end;  // its groups: members_[begin..end)
  };

  Hardware::ChipType chip_;
  std::vector<Placement> placements_;
  std::vector<Group> groups_;
  std::vector<Piece> pieces_;  // by block, then address
  std::vector<U32> members_;   // group indices of the pieces
};

// The location of `address` inside the placement, which must hold it.
Location locationIn(const Placement& p, U32 address);

}  // namespace Tool
