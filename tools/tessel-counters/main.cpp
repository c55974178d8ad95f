// tessel-counters: what the library knows about a register or memory, for
// people at a switch with a hex dump in hand. It uses only the library's
// public API and asks the queries that never stop before any that could, so
// bad input ends in one line of message and exit status 2, never in a fatal
// check.
#include <csignal>

#include "Run.h"

int main(int argc, char** argv) {
  // A reader that goes away (`| head`) ends the tool quietly, as it ends
  // other programs, also where the parent ignored the signal.
  std::signal(SIGPIPE, SIG_DFL);
  return Tool::run(argc, argv);
}
