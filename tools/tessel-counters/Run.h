// The whole command line of tessel-counters, callable in-process: the
// executable's main, and whatever else runs the tool's commands (tests,
// fuzzing). Output goes to stdout, notes and the one-line error to stderr.
#pragma once

#include <string>
#include <vector>

namespace Tool {

// Runs the command in argv[1..argc-1]; returns the exit status: 0, or
// kUsageError after one line on stderr for any bad input.
int run(int argc, char** argv);

// Runs one command, its name first (`{"search", "engine", "--json"}`), with
// what it writes to std::cout in `out`; returns its exit status. Bad input
// is a UsageError, thrown as the command threw it: the Python module gives
// the tool's answers this way. Not for commands that write with printf
// (their text forms) or read standard input.
int runCaptured(const std::vector<std::string>& args, std::string& out);

}  // namespace Tool
