// Where the tool's output goes: standard output or a file.
#pragma once

#include <string>

namespace Tool {

// Writes the text to the file at `path`, or to standard output for "-";
// stops with "cannot write 'PATH': REASON".
void writeOut(const std::string& path, const std::string& text);

}  // namespace Tool
