#include "DumpFormat.h"

#include <cstdio>

#include "Args.h"
#include "Entry.h"

namespace Tool {

namespace {

constexpr U64 kMaxU32 = 0xffffffffull;

// The entry of a text line, whose groups are `g`; a UsageError says what is wrong.
DumpEntry textEntry(const std::vector<Group>& g) {
  if (g.size() < 3)
    fail("expected BLOCK[.SUBBLOCK] ADDRESS WORD..., not " + std::to_string(g.size()) +
         (g.size() == 1 ? " group" : " groups"));
  DumpEntry e;
  const std::string& place = g[0].text;
  const auto dot = place.find('.');
  e.block = static_cast<U32>(parseNumber(place.substr(0, dot), "BLOCK", kMaxU32));
  if (dot != std::string::npos) {
    e.anySubBlock = false;
    e.subBlock = static_cast<U32>(parseNumber(place.substr(dot + 1), "SUBBLOCK", kMaxU32));
  }
  e.address = static_cast<U32>(parseNumber(g[1].text, "ADDRESS", kMaxU32));
  for (std::size_t k = 2; k < g.size(); ++k) {
    U32 word = 0;
    if (!parseWord(g[k].text, word))
      fail("word " + std::to_string(k - 2) + " " + quoted(g[k].text) +
           " is not a 32-bit word of 1 to 8 hex digits (column " + std::to_string(g[k].column) +
           ")");
    e.words.push_back(word);
  }
  return e;
}

U32 jsonNumber(const nlohmann::json& j, const char* key, bool required, bool* found = nullptr) {
  const auto at = j.find(key);
  if (at == j.end()) {
    if (required) fail(std::string("no \"") + key + "\"");
    return 0;
  }
  if (!at->is_number_unsigned() || at->get<U64>() > kMaxU32)
    fail(std::string("\"") + key + "\" must be a number from 0 to 4294967295");
  if (found) *found = true;
  return static_cast<U32>(at->get<U64>());
}

DumpEntry jsonEntry(const std::string& line) {
  const auto j = nlohmann::json::parse(line, nullptr, false);
  if (j.is_discarded() || !j.is_object())
    fail(
        "not an object of JSON: give {\"block\": B, \"subBlock\": S, \"address\": A, "
        "\"words\": [W, ...]}");
  DumpEntry e;
  e.block = jsonNumber(j, "block", true);
  bool subBlock = false;
  e.subBlock = jsonNumber(j, "subBlock", false, &subBlock);
  e.anySubBlock = !subBlock;
  e.address = jsonNumber(j, "address", true);
  const auto words = j.find("words");
  if (words == j.end() || !words->is_array() || words->empty())
    fail("\"words\" must be a list of at least one 32-bit word");
  for (const auto& w : *words) {
    if (!w.is_number_unsigned() || w.get<U64>() > kMaxU32)
      fail("\"words\" must hold numbers from 0 to 4294967295");
    e.words.push_back(static_cast<U32>(w.get<U64>()));
  }
  return e;
}

}  // namespace

std::vector<DumpLine> readDump(const std::string& text) {
  std::vector<DumpLine> out;
  std::size_t number = 0;
  for (std::size_t start = 0; start < text.size();) {
    std::size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size();
    const std::string line = text.substr(start, end - start);
    start = end + 1;
    ++number;
    const std::size_t first = line.find_first_not_of(" \t\r");
    if (first == std::string::npos || line[first] == '#') continue;
    DumpLine d;
    d.line = number;
    try {
      if (line[first] == '{') {
        d.entry = jsonEntry(line);
      } else {
        const Groups g = splitGroups(line, false);
        if (!g.problem.empty()) fail(g.problem + " (column " + std::to_string(g.column) + ")");
        d.entry = textEntry(g.groups);
      }
    } catch (const UsageError& e) {
      d.problem = e.message;
    }
    out.push_back(std::move(d));
  }
  return out;
}

std::string dumpPlace(const DumpEntry& e) {
  char text[48];
  if (e.anySubBlock)
    std::snprintf(text, sizeof text, "%u 0x%x", e.block, e.address);
  else
    std::snprintf(text, sizeof text, "%u.%u 0x%x", e.block, e.subBlock, e.address);
  return text;
}

std::string dumpText(const DumpEntry& e) {
  std::string out = dumpPlace(e);
  for (U32 w : e.words) {
    char word[16];
    std::snprintf(word, sizeof word, " 0x%08x", w);
    out += word;
  }
  return out;
}

Json dumpJson(const DumpEntry& e) {
  Json j = {{"block", e.block}};
  if (!e.anySubBlock) j["subBlock"] = e.subBlock;
  j["address"] = e.address;
  j["words"] = e.words;
  return j;
}

}  // namespace Tool
