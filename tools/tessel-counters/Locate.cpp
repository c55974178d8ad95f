// locate --chip CHIP --block BLOCK [--sub-block SB] [ADDRESS] [--json]: the
// chip's register space by address, from the model's address index.
#include "Locate.h"

#include <cstdio>
#include <iostream>

#include "Catalog.h"
#include "Commands.h"

namespace Tool {

namespace {

constexpr U64 kMaxU32 = 0xffffffffull;

std::string where(const LocateQuery& q) {
  std::string text = "block " + std::to_string(q.block);
  if (!q.anySubBlock) text += " sub-block " + std::to_string(q.subBlock);
  return text;
}

void printSegment(const AddressIndex::Segment& s, const char* label) {
  const auto lines = AddressIndex::describe(s);
  const std::string head = std::string(label) + addressText(s.first, s.last);
  for (std::size_t i = 0; i < lines.size(); ++i)
    std::printf("%-*s  %s\n", static_cast<int>(head.size()), i ? "" : head.c_str(),
                lines[i].c_str());
}

Json segmentJson(const AddressIndex::Segment& s) {
  Json matches = Json::array();
  for (const auto& st : AddressIndex::contents(s)) {
    const Location &a = st.first, &b = st.last;
    matches.push_back({{"class", a.cls},
                       {"variants", a.variants},
                       {"instance", a.instance},
                       {"subBlock", a.subBlock},
                       {"first", {{"arrayElement", a.arrayElement}, {"tableEntry", a.tableEntry}}},
                       {"last", {{"arrayElement", b.arrayElement}, {"tableEntry", b.tableEntry}}}});
  }
  return {{"first", s.first}, {"last", s.last}, {"matches", std::move(matches)}};
}

int blockMap(const LocateQuery& q, bool json) {
  const auto& index = AddressIndex::of(q.chip);
  const auto map = index.blockMap(q.block, q.anySubBlock ? nullptr : &q.subBlock);
  if (json) {
    Json ranges = Json::array();
    for (const auto& s : map) ranges.push_back(segmentJson(s));
    Json j = {{"chip", chipName(q.chip)}, {"block", q.block}};
    if (!q.anySubBlock) j["subBlock"] = q.subBlock;
    j["ranges"] = std::move(ranges);
    printJson(std::cout, j);
    return map.empty() ? 1 : 0;
  }
  if (map.empty()) {
    std::string blocks;
    for (U32 b : index.blocks()) blocks += (blocks.empty() ? "" : ", ") + std::to_string(b);
    std::printf("nothing of the catalogue lies in %s on %s; its blocks there: %s\n",
                where(q).c_str(), chipName(q.chip).c_str(), blocks.c_str());
    return 1;
  }
  U64 addresses = 0;
  for (const auto& s : map) addresses += U64{s.last} - s.first + 1;
  std::printf("%s on %s: %zu ranges, %llu addresses\n", where(q).c_str(),
              chipName(q.chip).c_str(), map.size(), static_cast<unsigned long long>(addresses));
  for (std::size_t i = 0; i < map.size(); ++i) {
    if (i && map[i - 1].last + 1 < map[i].first) {
      const U32 gap = map[i].first - map[i - 1].last - 1;
      std::printf("  gap %s, %u address%s\n",
                  addressText(map[i - 1].last + 1, map[i].first - 1).c_str(), gap,
                  gap == 1 ? "" : "es");
    }
    printSegment(map[i], "");
  }
  return 0;
}

}  // namespace

std::string matchText(const Location& l) {
  std::string text = std::string(l.cls) + (l.variants.size() == 1 ? " variant " : " variants ") +
                     variantText(l.variants) + ", instance " + std::to_string(l.instance) +
                     ", sub-block " + std::to_string(l.subBlock) + ", element " +
                     std::to_string(l.arrayElement);
  if (isMemory(l.cls)) text += ", entry " + std::to_string(l.tableEntry);
  return text;
}

std::vector<Location> LocateQuery::run() const {
  return AddressIndex::of(chip).locate(block, address, anySubBlock ? nullptr : &subBlock);
}

LocateQuery parseLocate(const std::string& chip, const std::string& block,
                        const std::string* address, const std::string* subBlock) {
  LocateQuery q{parseChip(chip), 0, 0, subBlock == nullptr, 0};
  q.block = static_cast<U32>(parseNumber(block, "--block", kMaxU32));
  if (subBlock) q.subBlock = static_cast<U32>(parseNumber(*subBlock, "--sub-block", kMaxU32));
  if (address) q.address = static_cast<U32>(parseNumber(*address, "ADDRESS", kMaxU32));
  return q;
}

Json locationJson(const Location& l) {
  // Key by key, with room for what a dump's decoding adds: an initializer
  // list copies each value once more, which a dump's hundred thousand
  // entries feel.
  Json j = objectWithRoom(8);
  j["class"] = l.cls;
  j["variants"] = l.variants;
  j["instance"] = l.instance;
  j["subBlock"] = l.subBlock;
  j["arrayElement"] = l.arrayElement;
  j["tableEntry"] = l.tableEntry;
  return j;
}

int cmdLocate(const Args& a) {
  if (a.positional.size() > 1)
    fail("unexpected argument " + quoted(a.positional[1]) + "; locate takes at most one ADDRESS");
  const std::string* chip = a.get("--chip");
  const std::string* block = a.get("--block");
  const std::string* subBlock = a.get("--sub-block");
  if (!chip) fail("--chip is required; known chips: " + chipList());
  if (!block)
    fail(subBlock ? "--sub-block goes with --block; give the block too"
                  : "--block is required: the S-channel block number of the address");
  const bool json = a.has("--json");
  const bool whole = a.positional.empty();
  const LocateQuery q = parseLocate(*chip, *block, whole ? nullptr : &a.positional[0], subBlock);
  if (whole) return blockMap(q, json);

  const auto matches = q.run();
  const auto& index = AddressIndex::of(q.chip);
  const auto map = matches.empty() ? index.blockMap(q.block, q.anySubBlock ? nullptr : &q.subBlock)
                                   : std::vector<AddressIndex::Segment>{};
  const auto [below, above] = index.neighbours(map, q.address);
  if (json) {
    Json list = Json::array();
    for (const auto& m : matches) list.push_back(locationJson(m));
    Json j = {{"chip", chipName(q.chip)}, {"block", q.block}, {"address", q.address}};
    if (!q.anySubBlock) j["subBlock"] = q.subBlock;
    j["matches"] = std::move(list);
    if (below) j["nearestBelow"] = segmentJson(*below);
    if (above) j["nearestAbove"] = segmentJson(*above);
    printJson(std::cout, j);
    return matches.empty() ? 1 : 0;
  }
  const std::string at = where(q) + " address " + addressText(q.address, q.address) + " on " +
                         chipName(q.chip);
  if (!matches.empty()) {
    std::printf("%s:\n", at.c_str());
    for (const auto& m : matches) std::printf("  %s\n", matchText(m).c_str());
    return 0;
  }
  if (map.empty()) {
    std::string blocks;
    for (U32 b : index.blocks()) blocks += (blocks.empty() ? "" : ", ") + std::to_string(b);
    std::printf("nothing of the catalogue lies at %s; nothing lies in %s there at all (its "
                "blocks there: %s)\n",
                at.c_str(), where(q).c_str(), blocks.c_str());
    return 1;
  }
  std::printf("nothing of the catalogue lies at %s\n", at.c_str());
  if (below) printSegment(*below, "nearest below: ");
  if (above) printSegment(*above, "nearest above: ");
  return 1;
}

}  // namespace Tool
