// An entry's contents as people write them: its bytes in buffer order as a
// hex dump shows them, or its 32-bit words as a register read prints them;
// on one line or many, with comments. The tool, the Python module and the
// dump reader read entries through this one grammar; the site's script
// follows it (its browser test holds the two equal).
//
//   text    = line { line-end line }            line-end: LF or CR LF
//   line    = { blank | group } [ "#" comment ]  blank: space, tab, CR (and ':' for bytes)
//   group   = [ "0x" ] hex-digit { hex-digit }
//
// Bytes: each group is whole bytes, two digits each, byte 0 first; a leading
// 0x doesn't make a group a number. Words: each group is one word of 1 to 8
// digits, word 0 (bits 0..31) first, most significant digit first.
#pragma once

#include <string>
#include <vector>

#include "Catalog.h"

namespace Tool {

enum class EntryForm { Bytes, Words };

struct EntryReader {
  EntryForm form = EntryForm::Bytes;
  std::string what = "HEX";  // the input, in messages
  std::string wordsHint;     // how to give words instead: "give --words"
};

struct EntryText {
  std::vector<U8> bytes;           // in buffer order; a word is 4 bytes, least significant first
  std::size_t count = 0;           // bytes or words given
  std::vector<std::string> notes;  // how input that could be misread was taken
};

// A group of the grammar and where it starts, line and column from 1.
struct Group {
  std::string text;
  std::size_t line;
  std::size_t column;
};
// The groups of `text`, blanks and comments left out (and colons, with
// `colons`); or, in `problem`, what the first character that is not ASCII
// text is ("U+00A0 is not ASCII"), at `line` and `column`.
struct Groups {
  std::vector<Group> groups;
  std::string problem;
  std::size_t line = 0;
  std::size_t column = 0;
};
Groups splitGroups(const std::string& text, bool colons);

// The entry's contents, or a UsageError of one line: the input (cut when too
// long), what is wrong and where (line and column), and the form to give.
EntryText parseEntry(const std::string& text, const EntryReader& how);

// The bytes of the target's entry: at most its size, shorter input completed
// with zeros (a note says so), or with `exact` just its size.
std::vector<U8> fitEntry(const Target& target, EntryText& entry, const EntryReader& how,
                         bool exact);

// One 32-bit word as a register read prints it, 1 to 8 hex digits, 0x
// optional; false for anything else.
bool parseWord(const std::string& group, U32& word);

// "0x0000001f 0xffffffff": bytes in buffer order as words, word 0 first.
std::string hexWords(const U8* bytes, std::size_t count);

// The text an argument stands for: itself, the contents of the file FILE
// for "@FILE", or standard input for "-".
std::string inputText(const std::string& argument);

}  // namespace Tool
