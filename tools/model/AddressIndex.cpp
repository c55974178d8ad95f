#include "AddressIndex.h"

#include <algorithm>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <tuple>

namespace Tool {

const char* Placement::className() const {
  return Hardware::catalogueDescription().classes[classIndex].name;
}

Location locationIn(const Placement& p, U32 address) {
  const U32 offset = address - p.base;
  const U32 element = offset / p.stride;
  return {p.className(), {p.variant}, p.instance, p.subBlock, element, offset - element * p.stride};
}

const AddressIndex& AddressIndex::of(Hardware::ChipType chip) {
  static std::mutex lock;
  static std::map<Hardware::ChipType, std::unique_ptr<AddressIndex>> built;
  const std::lock_guard<std::mutex> hold(lock);
  auto& index = built[chip];
  if (!index) index = std::make_unique<AddressIndex>(chip);
  return *index;
}

namespace {

// Every block instance of every class and variant on the chip, where the
// accessors say it lies.
std::vector<Placement> placementsOn(Hardware::ChipType chip) {
  std::vector<Placement> out;
  const auto& catalogue = Hardware::catalogueDescription();
  for (U32 c = 0; c < catalogue.classCount; ++c) {
    const auto& d = catalogue.classes[c];
    for (U32 i = 0; i < d.pairCount; ++i) {
      if (d.pairs[i].chip != chip) continue;
      const auto o = Hardware::stringObj(d.name, chip, d.pairs[i].variant);
      const U32 elements = o->arrayElements();
      const U32 entries = o->isTable() ? o->entries() : 1;
      for (U16 id = 0; id < o->instanceCount(); ++id) {
        Placement p{c, d.pairs[i].variant, id, 0, 0, 0, elements, entries, entries};
        o->getSchanAddress(p.base, p.subBlock, p.block, id, 0, 0);
        if (elements > 1) {
          U32 next = 0, subBlock = 0, block = 0;
          o->getSchanAddress(next, subBlock, block, id, 0, 1);
          p.stride = next - p.base;
        }
        out.push_back(p);
      }
    }
  }
  return out;
}

}  // namespace

AddressIndex::AddressIndex(Hardware::ChipType chip) : chip_(chip), placements_(placementsOn(chip)) {
  // Variants of a class that lie alike (the 32 of an expansion map) are one
  // group, found and described once.
  std::map<std::tuple<U32, U16, U32, U32, U32, U32, U32, U32>, U32> groupOf;
  for (U32 i = 0; i < placements_.size(); ++i) {
    const Placement& p = placements_[i];
    const auto key =
        std::make_tuple(p.classIndex, p.instance, p.subBlock, p.block, p.base, p.elements, p.stride,
                        p.entries);
    const auto [at, added] = groupOf.emplace(key, static_cast<U32>(groups_.size()));
    if (added) groups_.emplace_back();
    groups_[at->second].placements.push_back(i);
    groups_[at->second].variants.push_back(p.variant);
  }
  for (auto& g : groups_) std::sort(g.variants.begin(), g.variants.end());
  // Each group as runs of consecutive addresses: one when its elements
  // follow each other, else one per element.
  std::vector<Run> runs;
  for (U32 i = 0; i < groups_.size(); ++i) {
    const Placement& p = placements_[groups_[i].placements.front()];
    if (p.elements == 1 || p.stride == p.entries) {
      runs.push_back({p.block, p.base, p.base + p.elements * p.entries - 1, i});
    } else {
      for (U32 e = 0; e < p.elements; ++e)
        runs.push_back({p.block, p.base + e * p.stride, p.base + e * p.stride + p.entries - 1, i});
    }
  }
  std::sort(runs.begin(), runs.end(), [](const Run& x, const Run& y) {
    return std::tie(x.block, x.first, x.group) < std::tie(y.block, y.first, y.group);
  });
  // Cut each block at every start and end of a run: between two cuts the
  // same runs lie.
  for (std::size_t from = 0; from < runs.size();) {
    const U32 block = runs[from].block;
    std::size_t to = from;
    std::vector<U64> cuts;
    for (; to < runs.size() && runs[to].block == block; ++to) {
      cuts.push_back(runs[to].first);
      cuts.push_back(U64{runs[to].last} + 1);
    }
    std::sort(cuts.begin(), cuts.end());
    cuts.erase(std::unique(cuts.begin(), cuts.end()), cuts.end());
    std::vector<const Run*> active;
    std::size_t next = from;
    for (std::size_t c = 0; c + 1 < cuts.size(); ++c) {
      const U64 first = cuts[c], last = cuts[c + 1] - 1;
      while (next < to && runs[next].first <= first) active.push_back(&runs[next++]);
      active.erase(std::remove_if(active.begin(), active.end(),
                                  [first](const Run* r) { return r->last < first; }),
                   active.end());
      if (active.empty()) continue;
      Piece piece{block, static_cast<U32>(first), static_cast<U32>(last),
                  static_cast<U32>(members_.size()), 0};
      for (const Run* r : active) members_.push_back(r->group);
      std::sort(members_.begin() + piece.begin, members_.end());
      piece.end = static_cast<U32>(members_.size());
      pieces_.push_back(piece);
    }
    from = to;
  }
}

std::vector<Location> AddressIndex::locate(U32 block, U32 address, const U32* subBlock) const {
  std::vector<Location> out;
  const auto before = [](const Location& x, const Location& y) {
    if (const int order = std::strcmp(x.cls, y.cls)) return order < 0;
    return std::tie(x.instance, x.subBlock, x.arrayElement, x.tableEntry) <
           std::tie(y.instance, y.subBlock, y.arrayElement, y.tableEntry);
  };
  const auto after = std::upper_bound(
      pieces_.begin(), pieces_.end(), std::make_pair(block, address),
      [](const std::pair<U32, U32>& key, const Piece& p) {
        return key < std::make_pair(p.block, p.first);
      });
  if (after == pieces_.begin()) return out;
  const Piece& piece = *(after - 1);
  if (piece.block != block || piece.last < address) return out;
  for (U32 m = piece.begin; m < piece.end; ++m) {
    const Group& g = groups_[members_[m]];
    const Placement& p = placements_[g.placements.front()];
    if (subBlock && p.subBlock != *subBlock) continue;
    Location here = locationIn(p, address);
    // The variants of one class at the same place go together, also those
    // of groups that lie differently elsewhere.
    const auto same = std::find_if(out.begin(), out.end(), [&](const Location& l) {
      return l.cls == here.cls && l.instance == here.instance && l.subBlock == here.subBlock &&
             l.arrayElement == here.arrayElement && l.tableEntry == here.tableEntry;
    });
    if (same != out.end()) {
      same->variants.insert(same->variants.end(), g.variants.begin(), g.variants.end());
    } else {
      here.variants = g.variants;
      out.push_back(std::move(here));
    }
  }
  std::sort(out.begin(), out.end(), before);
  for (auto& l : out) std::sort(l.variants.begin(), l.variants.end());
  return out;
}

std::vector<AddressIndex::Segment> AddressIndex::blockMap(U32 block, const U32* subBlock) const {
  std::vector<Segment> out;
  for (const Piece& piece : pieces_) {
    if (piece.block != block) continue;
    Segment s{piece.first, piece.last, {}};
    for (U32 m = piece.begin; m < piece.end; ++m)
      for (U32 i : groups_[members_[m]].placements)
        if (!subBlock || placements_[i].subBlock == *subBlock) s.placements.push_back(&placements_[i]);
    if (!s.placements.empty()) out.push_back(std::move(s));
  }
  return out;
}

std::pair<const AddressIndex::Segment*, const AddressIndex::Segment*> AddressIndex::neighbours(
    const std::vector<Segment>& map, U32 address) {
  const Segment* below = nullptr;
  const Segment* above = nullptr;
  for (const auto& s : map) {
    if (s.last < address) below = &s;
    if (s.first > address && !above) above = &s;
  }
  return {below, above};
}

std::vector<U32> AddressIndex::blocks() const {
  std::vector<U32> out;
  for (const Piece& p : pieces_)
    if (out.empty() || out.back() != p.block) out.push_back(p.block);
  return out;
}

std::size_t AddressIndex::entryCount() const {
  std::size_t count = 0;
  for (const Piece& piece : pieces_) {
    std::vector<U32> subBlocks;
    for (U32 m = piece.begin; m < piece.end; ++m)
      subBlocks.push_back(placements_[groups_[members_[m]].placements.front()].subBlock);
    std::sort(subBlocks.begin(), subBlocks.end());
    const auto distinct = std::unique(subBlocks.begin(), subBlocks.end()) - subBlocks.begin();
    count += (std::size_t{piece.last} - piece.first + 1) * static_cast<std::size_t>(distinct);
  }
  return count;
}

namespace {

// "element 3", "elements 0..31", "element 0, entries 0..1023",
// "element 0 entry 5 to element 2 entry 7".
std::string spanText(U32 entries, const Location& a, const Location& b) {
  if (entries == 1 || (a.tableEntry == 0 && b.tableEntry == entries - 1))
    return a.arrayElement == b.arrayElement ? "element " + std::to_string(a.arrayElement)
                                            : "elements " + std::to_string(a.arrayElement) +
                                                  ".." + std::to_string(b.arrayElement);
  if (a.arrayElement == b.arrayElement)
    return "element " + std::to_string(a.arrayElement) +
           (a.tableEntry == b.tableEntry ? ", entry " + std::to_string(a.tableEntry)
                                         : ", entries " + std::to_string(a.tableEntry) + ".." +
                                               std::to_string(b.tableEntry));
  return "element " + std::to_string(a.arrayElement) + " entry " + std::to_string(a.tableEntry) +
         " to element " + std::to_string(b.arrayElement) + " entry " +
         std::to_string(b.tableEntry);
}

}  // namespace

std::vector<AddressIndex::Stretch> AddressIndex::contents(const Segment& segment) {
  std::vector<Stretch> out;
  for (const Placement* p : segment.placements) {
    Stretch here{locationIn(*p, segment.first), locationIn(*p, segment.last), p->entries};
    const auto same = std::find_if(out.begin(), out.end(), [&](const Stretch& s) {
      const auto key = [](const Location& l) {
        return std::tie(l.cls, l.instance, l.subBlock, l.arrayElement, l.tableEntry);
      };
      return key(s.first) == key(here.first) && key(s.last) == key(here.last);
    });
    if (same == out.end()) {
      out.push_back(std::move(here));
    } else {
      same->first.variants.push_back(p->variant);
      same->last.variants.push_back(p->variant);
    }
  }
  for (auto& s : out) {
    std::sort(s.first.variants.begin(), s.first.variants.end());
    s.last.variants = s.first.variants;
  }
  return out;
}

std::vector<std::string> AddressIndex::describe(const Segment& segment) {
  std::vector<std::string> out;
  for (const auto& s : contents(segment)) {
    const auto& a = s.first;
    out.push_back(std::string(a.cls) + (a.variants.size() == 1 ? " variant " : " variants ") +
                  variantText(a.variants) + ", instance " + std::to_string(a.instance) +
                  ", sub-block " + std::to_string(a.subBlock) + ", " + spanText(s.entries, a, s.last));
  }
  return out;
}

}  // namespace Tool
