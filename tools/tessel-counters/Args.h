// Command-line parsing shared by all subcommands: options, numbers and field
// values (an entry's contents: Entry.h). Every problem is a UsageError, which main turns
// into one line on stderr and exit status 2, and the Python module into an
// exception of the error's kind.
#pragma once

#include <Hardware/Types.h>

#include <map>
#include <string>
#include <vector>

namespace Tool {

constexpr int kUsageError = 2;

// What kind of input was wrong.
enum class ErrorKind {
  BadValue,     // a malformed or too wide value, a chip or variant that doesn't fit
  UnknownName,  // no class or field of that name (on this chip and variant)
  OutOfRange,   // an instance, table entry or array element past the last
};

struct UsageError {
  std::string message;
  ErrorKind kind = ErrorKind::BadValue;
};

[[noreturn]] void fail(const std::string& message, ErrorKind kind = ErrorKind::BadValue);

// What the user gave, in quotes, for a message: whole, or, when too long to
// be meant, its start and its length ("'0102...' (40000 characters)").
std::string quoted(const std::string& text);
// The same without the quotes where it is short: "--colour", "32".
std::string shown(const std::string& text);

struct OptionSpec {
  std::string name;  // "--chip"
  bool takesValue;   // false for switches such as "--json"
  std::string help;  // "--chip CHIP  the chip, by name or number": what `COMMAND --help` prints
};

struct Args {
  std::vector<std::string> positional;
  std::map<std::string, std::string> options;  // a switch maps to ""

  bool has(const std::string& option) const { return options.count(option) != 0; }
  const std::string* get(const std::string& option) const;
};

// The arguments from argv[first] on. Besides the options allowed, every
// command takes "--help" (a switch).
Args parseArgs(int argc, char** argv, int first, const std::vector<OptionSpec>& allowed);

// The value of a hex digit, or -1 for any other character.
int hexDigit(char c);
// Whether the text starts with 0x or 0X.
bool startsWith0x(const std::string& text);

// A whole number, decimal or 0x-prefixed hex, from 0 to max.
U64 parseNumber(const std::string& text, const std::string& what, U64 max);

// A field value as a little-endian byte array of `width` bits at most:
// decimal, or hex after 0x, at any width. The digits are a number: the most
// significant digit comes first. `describeLimit` names the field in messages.
std::vector<U8> parseFieldValue(const std::string& text, unsigned width,
                                const std::string& describeLimit);

// "0x3fffff": the value's hex digits, padded to the field's width.
std::string hexValue(const std::vector<U8>& value, unsigned width);
// The value in decimal, at any width.
std::string decimalValue(const std::vector<U8>& value);
// An S-channel address or range as the tool prints it: "540 (0x21c)",
// "314..356 (0x13a..0x164)".
std::string addressText(U32 first, U32 last);
// "ff ff 3f 00": bytes in buffer order.
std::string hexBytes(const U8* bytes, std::size_t count);

}  // namespace Tool
