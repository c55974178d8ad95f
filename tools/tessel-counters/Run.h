// The whole command line of tessel-counters, callable in-process: the
// executable's main, and whatever else runs the tool's commands (tests,
// fuzzing). Output goes to stdout, notes and the one-line error to stderr.
#pragma once

namespace Tool {

// Runs the command in argv[1..argc-1]; returns the exit status: 0, or
// kUsageError after one line on stderr for any bad input.
int run(int argc, char** argv);

}  // namespace Tool
