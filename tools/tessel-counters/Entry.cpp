#include "Entry.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

#include "Files.h"

namespace Tool {

namespace {

// The character at text[at] that is not ASCII text, shown escaped: "U+00A0"
// for one in UTF-8, "'\xff'" for a byte that is none, "'\x01'" for a control
// character.
std::string escaped(const std::string& text, std::size_t at) {
  const auto byte = [&](std::size_t k) {
    return k < text.size() ? static_cast<unsigned char>(text[k]) : 0u;
  };
  char out[16];
  const unsigned lead = byte(at);
  unsigned length = lead >= 0xf0 && lead <= 0xf4 ? 4 : lead >= 0xe0 ? 3 : lead >= 0xc2 ? 2 : 0;
  if (lead >= 0xf5) length = 0;
  unsigned code = length ? lead & (0x7fu >> length) : 0;
  for (unsigned k = 1; k < length; ++k) {
    if ((byte(at + k) & 0xc0) != 0x80) length = 0;
    code = code << 6 | (byte(at + k) & 0x3f);
  }
  const unsigned least[] = {0, 0, 0x80, 0x800, 0x10000};
  if (length && code >= least[length] && code <= 0x10ffff && (code < 0xd800 || code > 0xdfff)) {
    std::snprintf(out, sizeof out, "U+%04X", code);
    return out;
  }
  std::snprintf(out, sizeof out, "'\\x%02x'", lead);
  return out;
}

std::string place(std::size_t line, std::size_t column) {
  return " (line " + std::to_string(line) + ", column " + std::to_string(column) + ")";
}

std::string formHint(EntryForm form) {
  return form == EntryForm::Bytes
             ? "give the bytes in buffer order, byte 0 first, as pairs of hex digits, e.g. "
               "'0x01020304', '01 02 03 04' or '01:02:03:04'"
             : "give 32-bit words, word 0 (bits 0..31) first, each as a register read prints "
               "it, e.g. '0x1f 0xffffffff' or '0000001f ffffffff'";
}

// The text on one line, blanks and line ends as single spaces.
std::string squeezed(const std::string& text) {
  std::string out;
  for (char c : text) {
    const bool blank = c == ' ' || c == '\t' || c == '\r' || c == '\n';
    if (!blank)
      out += c;
    else if (!out.empty() && out.back() != ' ')
      out += ' ';
  }
  if (!out.empty() && out.back() == ' ') out.pop_back();
  return out;
}

}  // namespace

Groups splitGroups(const std::string& text, bool colons) {
  Groups out;
  std::size_t line = 1, lineStart = 0;
  for (std::size_t i = 0; i < text.size();) {
    const char c = text[i];
    const auto u = static_cast<unsigned char>(c);
    if (c == '\n') {
      ++line;
      lineStart = ++i;
    } else if (c == '#') {
      while (i < text.size() && text[i] != '\n') ++i;
    } else if (c == ' ' || c == '\t' || c == '\r' || (colons && c == ':')) {
      ++i;
    } else if (u < 0x20 || u >= 0x7f) {
      out.problem = escaped(text, i) + (u >= 0x80 ? " is not ASCII" : " is a control character");
      out.line = line;
      out.column = i - lineStart + 1;
      return out;
    } else {
      const std::size_t start = i;
      while (i < text.size() && !std::strchr(colons ? " \t\r\n#:" : " \t\r\n#", text[i]) &&
             static_cast<unsigned char>(text[i]) >= 0x20 &&
             static_cast<unsigned char>(text[i]) < 0x7f)
        ++i;
      out.groups.push_back({text.substr(start, i - start), line, start - lineStart + 1});
    }
  }
  return out;
}

bool parseWord(const std::string& group, U32& word) {
  const std::string digits = startsWith0x(group) ? group.substr(2) : group;
  if (digits.empty() || digits.size() > 8) return false;
  word = 0;
  for (char c : digits) {
    if (hexDigit(c) < 0) return false;
    word = word << 4 | static_cast<U32>(hexDigit(c));
  }
  return true;
}

EntryText parseEntry(const std::string& text, const EntryReader& how) {
  const bool bytes = how.form == EntryForm::Bytes;
  const auto bad = [&](const std::string& why) {
    fail("bad " + how.what + " " + quoted(squeezed(text)) + ": " + why + "; " + formHint(how.form));
  };
  const Groups split = splitGroups(text, bytes);
  if (!split.problem.empty())
    fail("bad " + how.what + ": " + split.problem + place(split.line, split.column) + "; " +
         formHint(how.form));
  EntryText out;
  for (const auto& g : split.groups) {
    const std::string digits = startsWith0x(g.text) ? g.text.substr(2) : g.text;
    const std::size_t prefix = g.text.size() - digits.size();
    if (digits.empty()) bad("'0x' without digits" + place(g.line, g.column));
    for (std::size_t k = 0; k < digits.size(); ++k)
      if (hexDigit(digits[k]) < 0)
        bad("'" + std::string(1, digits[k]) + "' is not a hex digit" +
            place(g.line, g.column + prefix + k));
    if (!bytes) {
      U32 word = 0;
      if (!parseWord(g.text, word))
        bad(quoted(g.text) + " has " + std::to_string(digits.size()) +
            " hex digits, more than a 32-bit word" + place(g.line, g.column));
      for (int b = 0; b < 4; ++b) out.bytes.push_back(static_cast<U8>(word >> (8 * b)));
      ++out.count;
      continue;
    }
    if (digits.size() % 2)
      bad(quoted(g.text) + " is not a whole number of bytes, an odd count of digits" +
          place(g.line, g.column));
    const std::size_t first = out.bytes.size();
    for (std::size_t k = 0; k < digits.size(); k += 2)
      out.bytes.push_back(static_cast<U8>(hexDigit(digits[k]) * 16 + hexDigit(digits[k + 1])));
    // "0x0000001f" looks like a number but is four bytes: say how it was read.
    if (prefix && digits.size() > 2 && out.notes.empty()) {
      const std::size_t shown = std::min<std::size_t>(digits.size() / 2, 4);
      out.notes.push_back(how.what + " " + quoted(g.text) +
                          " is read as bytes in buffer order, byte 0 first (" +
                          hexBytes(out.bytes.data() + first, shown) +
                          (shown < digits.size() / 2 ? " ..." : "") + "), not as a number" +
                          (how.wordsHint.empty() ? ""
                                                 : "; for 32-bit words as a register read "
                                                   "prints them, " +
                                                       how.wordsHint));
    }
  }
  out.count = bytes ? out.bytes.size() : out.count;
  if (!out.count) bad(bytes ? "no bytes" : "no words");
  return out;
}

std::vector<U8> fitEntry(const Target& target, EntryText& entry, const EntryReader& how,
                         bool exact) {
  const bool bytes = how.form == EntryForm::Bytes;
  checkLength(target, entry.count, how.what, exact, bytes ? "byte" : "word");
  const std::size_t size = bytes ? target.entryBytes() : target.object->width();
  if (entry.count < size)
    entry.notes.push_back(how.what + " has " + std::to_string(entry.count) + " of " +
                          std::to_string(size) + (bytes ? " bytes; bytes " : " words; words ") +
                          std::to_string(entry.count) + ".." + std::to_string(size - 1) +
                          (bytes ? " are taken as 00" : " are taken as 0"));
  std::vector<U8> out = entry.bytes;
  out.resize(target.entryBytes(), 0);
  return out;
}

std::string hexWords(const U8* bytes, std::size_t count) {
  std::string out;
  for (std::size_t w = 0; 4 * w < count; ++w) {
    U32 word = 0;
    for (std::size_t b = 0; b < 4 && 4 * w + b < count; ++b)
      word |= static_cast<U32>(bytes[4 * w + b]) << (8 * b);
    char text[16];
    std::snprintf(text, sizeof text, "%s0x%08x", w ? " " : "", word);
    out += text;
  }
  return out;
}

std::string inputText(const std::string& argument) {
  if (argument == "-") return readIn("-");
  if (!argument.empty() && argument[0] == '@') return readIn(argument.substr(1));
  return argument;
}

}  // namespace Tool
