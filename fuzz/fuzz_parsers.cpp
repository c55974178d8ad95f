// The tool's parsers of hex dumps, field values and numbers on their own:
// what one accepts re-prints to the same bytes, and the printed digits are
// the input's own. Input byte 0: bits 0-1 the parser (hex dump, field value,
// number), bits 2-3 the high bits of the field's width or which maximum, bit 4
// hex only; byte 1 the low bits of the width. The rest is the text, with NUL
// between the tokens of a hex dump.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <sstream>

#include "Args.h"
#include "FuzzSupport.h"

namespace {

bool has0x(const std::string& s) {
  return s.size() >= 2 && s[0] == '0' && (s[1] == 'x' || s[1] == 'X');
}

std::string lower(std::string s) {
  for (char& c : s) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return s;
}

// A number's digits without 0x, '_' and leading zeros, in lower case.
std::string significant(std::string s) {
  if (has0x(s)) s = s.substr(2);
  s.erase(std::remove(s.begin(), s.end(), '_'), s.end());
  s.erase(0, std::min(s.find_first_not_of('0'), s.size()));
  return lower(s);
}

void hexDump(const std::vector<std::string>& tokens) {
  std::vector<U8> bytes;
  try {
    bytes = Tool::parseHexBytes(tokens, "HEX");
  } catch (const Tool::UsageError&) {
    return;
  }
  const std::string printed = Tool::hexBytes(bytes.data(), bytes.size());
  FUZZ_CHECK(Tool::parseHexBytes({printed}, "HEX") == bytes);
  // The input's digits: groups cut at blanks and colons, each without its 0x.
  std::string joined, group, digits;
  for (const auto& t : tokens) joined += t + " ";
  std::replace(joined.begin(), joined.end(), ':', ' ');
  std::istringstream groups(joined);
  while (groups >> group) digits += lower(has0x(group) ? group.substr(2) : group);
  std::string plain = printed;
  plain.erase(std::remove(plain.begin(), plain.end(), ' '), plain.end());
  FUZZ_CHECK(digits == plain);
}

void fieldValue(const std::string& text, unsigned width, bool hexOnly) {
  std::vector<U8> value;
  try {
    value = Tool::parseFieldValue(text, width, hexOnly, "the field");
  } catch (const Tool::UsageError&) {
    return;
  }
  FUZZ_CHECK(value.size() == (width + 7) / 8);
  const std::string hex = Tool::hexValue(value, width), decimal = Tool::decimalValue(value);
  FUZZ_CHECK(Tool::parseFieldValue(hex, width, hexOnly, "the field") == value);
  if (!hexOnly) FUZZ_CHECK(Tool::parseFieldValue(decimal, width, false, "the field") == value);
  FUZZ_CHECK(significant(text) == significant(hexOnly || has0x(text) ? hex : decimal));
}

void number(const std::string& text, U64 max) {
  U64 v = 0;
  try {
    v = Tool::parseNumber(text, "N", max);
  } catch (const Tool::UsageError&) {
    return;
  }
  char hex[24];
  std::snprintf(hex, sizeof hex, "0x%llx", static_cast<unsigned long long>(v));
  const std::string decimal = std::to_string(v);
  FUZZ_CHECK(v <= max && Tool::parseNumber(decimal, "N", max) == v);
  FUZZ_CHECK(Tool::parseNumber(hex, "N", max) == v);
  FUZZ_CHECK(significant(text) == significant(has0x(text) ? hex : decimal));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const auto tokens = Fuzz::arguments(data + 2, size - 2, 64);
  const std::string text = tokens.empty() ? std::string() : tokens.front();
  const U64 maxima[] = {255, 0xffffffffull, ~0ull, data[1]};
  switch (data[0] & 3) {
    case 0:
      hexDump(tokens);
      break;
    case 1:
      fieldValue(text, 1u + data[1] + 256u * ((data[0] >> 2) & 3u), (data[0] & 16) != 0);
      break;
    default:
      number(text, maxima[(data[0] >> 2) & 3u]);
  }
  return 0;
}
