// Calls that may stop the process run in a forked child: its stderr is
// captured through a pipe, its end (exit or signal) recorded, and what it
// left in the shared buffer stays readable afterwards.
#include <errno.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <csignal>
#include <cstdlib>
#include <cstring>

#include "Dump.h"

namespace ApiDump {
namespace {

SharedArea* area = nullptr;

std::string statusText(int status) {
  if (WIFEXITED(status)) return "exit " + std::to_string(WEXITSTATUS(status));
  if (!WIFSIGNALED(status)) return "status " + std::to_string(status);
  const int sig = WTERMSIG(status);
  switch (sig) {
    case SIGABRT:
      return "signal SIGABRT";
    case SIGSEGV:
      return "signal SIGSEGV";
    case SIGFPE:
      return "signal SIGFPE";
    case SIGILL:
      return "signal SIGILL";
    case SIGBUS:
      return "signal SIGBUS";
    case SIGALRM:
      return "signal SIGALRM (hung)";
    default:
      return "signal " + std::to_string(sig);
  }
}

std::string readAll(int fd) {
  std::string text;
  char chunk[65536];
  for (;;) {
    const ssize_t n = ::read(fd, chunk, sizeof(chunk));
    if (n > 0) {
      text.append(chunk, static_cast<std::size_t>(n));
    } else if (n == 0 || errno != EINTR) {
      return text;
    }
  }
}

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> result;
  std::size_t pos = 0;
  while (pos < text.size()) {
    std::size_t end = text.find('\n', pos);
    if (end == std::string::npos) end = text.size();
    result.push_back(normalise(text.substr(pos, end - pos)));
    pos = end + 1;
  }
  return result;
}

[[noreturn]] void childMain(int writeEnd, const std::function<void()>& body, U16 traceMask,
                            unsigned seconds) {
  ::prctl(PR_SET_DUMPABLE, 0);  // a stop must not leave a core file behind
  ::dup2(writeEnd, 2);
  ::close(writeEnd);
  ::alarm(seconds);
  Wisp::levelMaskIs(kTraceHandle, traceMask);
  body();
  ::_exit(0);
}

}  // namespace

void mapSharedArea() {
  void* p = ::mmap(nullptr, sizeof(SharedArea), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS,
                   -1, 0);
  if (p == MAP_FAILED) {
    std::perror("api-dump: mmap");
    std::exit(2);
  }
  area = static_cast<SharedArea*>(p);
}

SharedArea& shared() {
  return *area;
}

ChildEnd runInChild(const std::function<void()>& body, U16 traceMask, unsigned seconds) {
  int fds[2];
  if (::pipe(fds) != 0) {
    std::perror("api-dump: pipe");
    std::exit(2);
  }
  const pid_t pid = ::fork();
  if (pid < 0) {
    std::perror("api-dump: fork");
    std::exit(2);
  }
  if (pid == 0) {
    ::close(fds[0]);
    childMain(fds[1], body, traceMask, seconds);
  }
  ::close(fds[1]);
  const std::string text = readAll(fds[0]);
  ::close(fds[0]);
  int status = 0;
  while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
  }
  return ChildEnd{statusText(status), lines(text)};
}

bool isTraceLine(const std::string& line) {
  static const std::string prefix = std::string(kTraceHandle) + "[";
  return line.compare(0, prefix.size(), prefix) == 0;
}

void note(const std::string& text) {
  const std::string line = "-> " + text + "\n";
  ssize_t ignored = ::write(2, line.data(), line.size());
  (void)ignored;
}

namespace {

// The parameters of the function an assertion names, in one spelling for
// every compiler: clang qualifies types that GCC doesn't and puts a space
// before "*" and "&". "(const void *, Hardware::ChipType, U32 &)" becomes
// "(const void*, ChipType, U32&)": the types without namespaces or space.
std::string sameParameters(const std::string& line) {
  const std::size_t end = line.rfind(": Assertion `");
  const std::size_t start = line.find(": ");
  const std::size_t open = line.find('(', start);
  if (end == std::string::npos || start >= end || open > end) return line;
  std::string params;
  for (std::size_t i = open; i < end; ++i) {
    const char c = line[i];
    if (c == ' ' && i + 1 < end && (line[i + 1] == '*' || line[i + 1] == '&')) continue;
    params += c;
    // A qualified name keeps its last part.
    if (c == ':' && i + 1 < end && line[i + 1] == ':') {
      std::size_t first = params.size() - 1;
      while (first > 0 && (std::isalnum(static_cast<unsigned char>(params[first - 1])) ||
                           params[first - 1] == '_'))
        --first;
      params.erase(first);
      ++i;
    }
  }
  return line.substr(0, open) + params + line.substr(end);
}

}  // namespace

// "<prog>: TesselCountersMetaInfo:1234: ..." becomes "TesselCountersMetaInfo:N: ...",
// and the trace prefix "... TesselCountersMetaInfo:1234 f: " becomes "... TesselCountersMetaInfo:N
// f: "; an assertion's function has its parameters spelt as sameParameters() spells them.
std::string normalise(const std::string& line) {
  static const std::string prog = std::string(program_invocation_short_name) + ": ";
  static const std::string unit = "TesselCountersMetaInfo:";
  std::string s = line.compare(0, prog.size(), prog) == 0 ? line.substr(prog.size()) : line;
  std::size_t pos = 0;
  while ((pos = s.find(unit, pos)) != std::string::npos) {
    pos += unit.size();
    std::size_t end = pos;
    while (end < s.size() && s[end] >= '0' && s[end] <= '9') ++end;
    if (end > pos) s.replace(pos, end - pos, "N");
  }
  return sameParameters(s);
}

}  // namespace ApiDump
