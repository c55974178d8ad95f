// The tool's parsers on their own: an entry's contents (bytes or words),
// field values, numbers and dumps. What one accepts re-prints to the same
// bytes or entries, the printed digits of a value or number are the input's
// own, and what one refuses is a reason a user can read: one line without
// control characters naming what was refused, short whatever the input's length.
// Input byte 0: bits 0-1 the parser (entry, field value, number, number or
// dump), bits 2-3 the high bits of the field's width or which maximum, bit 4
// words (entry) or a dump (parser 3); byte 1 the low bits of the width. The
// rest is the text, with NUL between the tokens of a hex dump.
#include <algorithm>
#include <cctype>
#include <cstdio>

#include "Args.h"
#include "DumpFormat.h"
#include "Entry.h"
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

// A refusal is a reason a user can read: one line without control
// characters (the input's own shown as escapes), never much longer than its
// fixed words, that names what was refused (`what`).
void checkError(const std::string& message, const std::string& what) {
  FUZZ_CHECK(!message.empty() && message.size() < 1200);
  for (const char c : message) FUZZ_CHECK(static_cast<unsigned char>(c) >= ' ' && c != '\x7f');
  FUZZ_CHECK(message.find(what) != std::string::npos);
}

void checkError(const Tool::UsageError& e, const std::string& what) {
  FUZZ_CHECK(e.kind == Tool::ErrorKind::BadValue);
  checkError(e.message, what);
}

void entry(const std::vector<std::string>& tokens, bool words) {
  std::string text;
  for (const auto& t : tokens) text += (text.empty() ? "" : "\n") + t;
  const Tool::EntryReader how{words ? Tool::EntryForm::Words : Tool::EntryForm::Bytes, "HEX",
                              "give --words"};
  Tool::EntryText got;
  try {
    got = Tool::parseEntry(text, how);
  } catch (const Tool::UsageError& e) {
    checkError(e, "bad HEX");
    return;
  }
  FUZZ_CHECK(got.count == (words ? got.bytes.size() / 4 : got.bytes.size()) && got.count > 0);
  FUZZ_CHECK(words ? got.notes.empty() : got.notes.size() <= 1);
  const std::string printed = words ? Tool::hexWords(got.bytes.data(), got.bytes.size())
                                    : Tool::hexBytes(got.bytes.data(), got.bytes.size());
  const auto again = Tool::parseEntry(printed, how);
  FUZZ_CHECK(again.bytes == got.bytes && again.count == got.count);
  // Bytes print as a hex dump, which reads as nothing but bytes.
  FUZZ_CHECK(words || again.notes.empty());
}

void fieldValue(const std::string& text, unsigned width) {
  std::vector<U8> value;
  try {
    value = Tool::parseFieldValue(text, width, "the field");
  } catch (const Tool::UsageError& e) {
    checkError(e, " for the field");
    return;
  }
  FUZZ_CHECK(value.size() == (width + 7) / 8);
  const std::string hex = Tool::hexValue(value, width), decimal = Tool::decimalValue(value);
  FUZZ_CHECK(Tool::parseFieldValue(hex, width, "the field") == value);
  FUZZ_CHECK(Tool::parseFieldValue(decimal, width, "the field") == value);
  FUZZ_CHECK(significant(text) == significant(has0x(text) ? hex : decimal));
}

void number(const std::string& text, U64 max) {
  U64 v = 0;
  try {
    v = Tool::parseNumber(text, "N", max);
  } catch (const Tool::UsageError& e) {
    checkError(e, "N must be a number from 0 to " + std::to_string(max));
    return;
  }
  char hex[24];
  std::snprintf(hex, sizeof hex, "0x%llx", static_cast<unsigned long long>(v));
  const std::string decimal = std::to_string(v);
  FUZZ_CHECK(v <= max && Tool::parseNumber(decimal, "N", max) == v);
  FUZZ_CHECK(Tool::parseNumber(hex, "N", max) == v);
  FUZZ_CHECK(significant(text) == significant(has0x(text) ? hex : decimal));
}

bool sameEntry(const Tool::DumpEntry& x, const Tool::DumpEntry& y) {
  return x.block == y.block && x.anySubBlock == y.anySubBlock && x.subBlock == y.subBlock &&
         x.address == y.address && x.words == y.words;
}

// Each entry read prints, as text and as JSON, to a line that reads back the same.
void dump(const std::string& text) {
  std::size_t last = 0;
  for (const auto& line : Tool::readDump(text)) {
    FUZZ_CHECK(line.line > last);
    last = line.line;
    if (!line.problem.empty()) {
      checkError(line.problem, "");
      continue;
    }
    for (const std::string& printed :
         {Tool::dumpText(line.entry), Tool::jsonLine(Tool::dumpJson(line.entry))}) {
      const auto again = Tool::readDump(printed);
      FUZZ_CHECK(again.size() == 1 && again[0].problem.empty() &&
                 sameEntry(again[0].entry, line.entry));
    }
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const auto tokens = Fuzz::arguments(data + 2, size - 2, 64);
  const std::string text = tokens.empty() ? std::string() : tokens.front();
  const U64 maxima[] = {255, 0xffffffffull, ~0ull, data[1]};
  const bool bit4 = (data[0] & 16) != 0;
  switch (data[0] & 3) {
    case 0:
      entry(tokens, bit4);
      break;
    case 1:
      fieldValue(text, 1u + data[1] + 256u * ((data[0] >> 2) & 3u));
      break;
    case 3:
      if (bit4) {
        dump(std::string(reinterpret_cast<const char*>(data) + 2, size - 2));
        break;
      }
      [[fallthrough]];
    default:
      number(text, maxima[(data[0] >> 2) & 3u]);
  }
  return 0;
}
