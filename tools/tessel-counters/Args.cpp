#include "Args.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

namespace Tool {

namespace {

const char* const kHexDigits = "0123456789abcdef";

// The text on one line: control characters that came with the user's input
// (a pasted line end, a tab) are shown as escapes.
std::string oneLine(const std::string& text) {
  std::string out;
  for (char c : text) {
    const auto u = static_cast<unsigned char>(c);
    if (u >= 0x20 && u != 0x7f)
      out += c;
    else if (c == '\n' || c == '\t')
      out += c == '\n' ? "\\n" : "\\t";
    else
      out += std::string("\\x") + kHexDigits[u >> 4] + kHexDigits[u & 0xf];
  }
  return out;
}

}  // namespace

void fail(const std::string& message, ErrorKind kind) {
  throw UsageError{oneLine(message), kind};
}

std::string quoted(const std::string& text) {
  constexpr std::size_t kShown = 100, kLongest = 120;
  if (text.size() <= kLongest) return "'" + text + "'";
  return "'" + text.substr(0, kShown) + "...' (" + std::to_string(text.size()) + " characters)";
}

std::string shown(const std::string& text) {
  const std::string q = quoted(text);
  return q.size() == text.size() + 2 ? text : q;
}

const std::string* Args::get(const std::string& option) const {
  auto it = options.find(option);
  return it == options.end() ? nullptr : &it->second;
}

Args parseArgs(int argc, char** argv, int first, const std::vector<OptionSpec>& allowed) {
  Args a;
  for (int i = first; i < argc; ++i) {
    std::string arg = argv[i];
    if (arg.rfind("--", 0) != 0) {
      a.positional.push_back(arg);
      continue;
    }
    std::string value;
    bool inlineValue = false;
    if (const auto eq = arg.find('='); eq != std::string::npos) {
      value = arg.substr(eq + 1);
      arg = arg.substr(0, eq);
      inlineValue = true;
    }
    static const OptionSpec help{"--help", false, ""};
    const auto found = std::find_if(allowed.begin(), allowed.end(),
                                    [&](const OptionSpec& o) { return o.name == arg; });
    const OptionSpec* option = arg == help.name ? &help : found == allowed.end() ? nullptr : &*found;
    if (!option) {
      std::string list;
      for (const auto& o : allowed) list += (list.empty() ? "" : ", ") + o.name;
      fail("unknown option " + shown(arg) +
           (list.empty() ? "; this command takes no options" : "; this command takes " + list));
    }
    if (option->takesValue && !inlineValue) {
      if (i + 1 >= argc) fail("option " + arg + " needs a value");
      value = argv[++i];
    } else if (!option->takesValue && inlineValue) {
      fail("option " + arg + " takes no value");
    }
    if (a.options.count(arg)) fail("option " + arg + " given twice");
    a.options[arg] = value;
  }
  return a;
}

int hexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  return -1;
}

bool startsWith0x(const std::string& s) {
  return s.size() >= 2 && s[0] == '0' && (s[1] == 'x' || s[1] == 'X');
}

namespace {

// Little-endian bytes of a number given by its digits in `base`, most
// significant first.
std::vector<U8> digitsToBytes(const std::string& digits, int base) {
  std::vector<U8> out;
  for (char c : digits) {
    unsigned carry = static_cast<unsigned>(hexDigit(c));
    for (auto& b : out) {
      const unsigned v = b * static_cast<unsigned>(base) + carry;
      b = static_cast<U8>(v & 0xff);
      carry = v >> 8;
    }
    while (carry) {
      out.push_back(static_cast<U8>(carry & 0xff));
      carry >>= 8;
    }
  }
  return out;
}

unsigned bitLength(const std::vector<U8>& value) {
  for (std::size_t i = value.size(); i-- > 0;) {
    if (value[i] == 0) continue;
    unsigned n = 0;
    for (unsigned b = value[i]; b; b >>= 1) ++n;
    return static_cast<unsigned>(8 * i + n);
  }
  return 0;
}

}  // namespace

U64 parseNumber(const std::string& text, const std::string& what, U64 max) {
  const bool hex = startsWith0x(text);
  const std::string digits = hex ? text.substr(2) : text;
  const auto bad = [&] {
    fail(what + " must be a number from 0 to " + std::to_string(max) + ", not " + quoted(text));
  };
  if (digits.empty() || digits.size() > 20) bad();
  for (char c : digits)
    if (hex ? hexDigit(c) < 0 : !std::isdigit(static_cast<unsigned char>(c))) bad();
  const auto bytes = digitsToBytes(digits, hex ? 16 : 10);
  if (bitLength(bytes) > 64) bad();
  U64 v = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) v |= static_cast<U64>(bytes[i]) << (8 * i);
  if (v > max) bad();
  return v;
}

std::vector<U8> parseFieldValue(const std::string& text, unsigned width,
                                const std::string& describeLimit) {
  const bool hex = startsWith0x(text);
  std::string digits = hex ? text.substr(2) : text;
  digits.erase(std::remove(digits.begin(), digits.end(), '_'), digits.end());
  const auto bad = [&] {
    fail("bad value " + quoted(text) + " for " + describeLimit +
         "; give a decimal number or 0x and hex digits");
  };
  if (digits.empty()) bad();
  for (char c : digits)
    if (hex ? hexDigit(c) < 0 : !std::isdigit(static_cast<unsigned char>(c))) bad();
  auto bytes = digitsToBytes(digits, hex ? 16 : 10);
  if (bitLength(bytes) > width) {
    std::vector<U8> max((width + 7) / 8, 0xff);
    if (width % 8) max.back() = static_cast<U8>((1u << (width % 8)) - 1);
    fail("value " + shown(text) + " is too wide for " + describeLimit + ": " +
         std::to_string(width) + " bits, at most " + hexValue(max, width) +
         (width <= 64 ? " (" + decimalValue(max) + ")" : ""));
  }
  bytes.resize((width + 7) / 8, 0);
  return bytes;
}

std::string hexValue(const std::vector<U8>& value, unsigned width) {
  const unsigned nibbles = std::max(1u, (width + 3) / 4);
  std::string out = "0x";
  for (unsigned n = nibbles; n-- > 0;) {
    const std::size_t byte = n / 2;
    const unsigned v = byte < value.size() ? (value[byte] >> (4 * (n % 2))) & 0xf : 0;
    out += kHexDigits[v];
  }
  return out;
}

std::string decimalValue(const std::vector<U8>& value) {
  std::vector<U8> rest(value.rbegin(), value.rend());  // most significant first
  std::string out;
  while (std::any_of(rest.begin(), rest.end(), [](U8 b) { return b != 0; })) {
    unsigned rem = 0;
    for (auto& b : rest) {
      const unsigned cur = rem * 256 + b;
      b = static_cast<U8>(cur / 10);
      rem = cur % 10;
    }
    out += static_cast<char>('0' + rem);
  }
  if (out.empty()) out = "0";
  std::reverse(out.begin(), out.end());
  return out;
}

std::string hexBytes(const U8* bytes, std::size_t count) {
  std::string out;
  for (std::size_t i = 0; i < count; ++i) {
    if (i) out += ' ';
    out += kHexDigits[bytes[i] >> 4];
    out += kHexDigits[bytes[i] & 0xf];
  }
  return out;
}

std::string addressText(U32 first, U32 last) {
  char text[64];
  if (first == last)
    std::snprintf(text, sizeof text, "%u (0x%x)", first, first);
  else
    std::snprintf(text, sizeof text, "%u..%u (0x%x..0x%x)", first, last, first, last);
  return text;
}

}  // namespace Tool
