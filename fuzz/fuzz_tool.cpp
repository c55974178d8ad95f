// The tool's whole command path in-process, over argument lists made from the
// fuzz input (NUL between arguments). Every run ends in status 0, in status 1
// from the commands that answer "not found" or "differ" (locate, dump decode,
// dump diff) with nothing on stderr, or in status 2 with the error as the last
// line on stderr, one line. The files that `map` writes are the ones named:
// every FILE goes into a scratch folder of this program, which holds nothing
// else after the run.
//
// What follows three NULs in the input is the text of a file A, and what
// follows three more that of a file B: standard input reads A, every @FILE
// is A, and the dumps of dump decode and dump diff are A and B in turn.
#include <dirent.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <set>
#include <sstream>

#include "Args.h"
#include "FuzzSupport.h"
#include "Run.h"

namespace {

std::string scratch;    // the one folder the tool may write to
std::string inputs;     // the folder of the files A and B, which the tool reads
std::stringbuf errors;  // what the tool writes to std::cerr

// The arguments, from the input; A and B written to their files, and
// standard input made A.
std::string splitFiles(const std::string& all) {
  const std::string mark(3, '\0');
  std::vector<std::string> parts;
  std::size_t from = 0;
  for (std::size_t cut = 0; parts.size() < 2 && (cut = all.find(mark, from)) != std::string::npos;
       from = cut + 3)
    parts.push_back(all.substr(from, cut - from));
  parts.push_back(all.substr(from));
  parts.resize(3);
  for (int k = 0; k < 2; ++k) {
    FILE* out = std::fopen((inputs + (k ? "/b" : "/a")).c_str(), "wb");
    FUZZ_CHECK(out != nullptr);
    std::fwrite(parts[1 + k].data(), 1, parts[1 + k].size(), out);
    std::fclose(out);
  }
  FUZZ_CHECK(std::freopen((inputs + "/a").c_str(), "rb", stdin) != nullptr);
  return parts[0];
}

// What the tool reads is A and B alone: "@FILE" becomes "@A", and the FILEs
// of dump decode and dump diff (what no option takes) A and B in turn.
void confineReads(std::vector<std::string>& args) {
  const bool dump = args.size() > 1 && args[0] == "dump";
  int next = 0;
  for (std::size_t i = 0; i < args.size(); ++i) {
    if (!args[i].empty() && args[i][0] == '@') args[i] = "@" + inputs + "/a";
    if (!dump || i < 2 || args[i].rfind("--", 0) == 0 || args[i] == "-") continue;
    const std::string& before = args[i - 1];
    const bool value = before.find('=') == std::string::npos &&
                       (before == "--chip" || before == "--variant" || before == "--class");
    if (!value) args[i] = inputs + (next++ % 2 ? "/b" : "/a");
  }
}

// Every argument that the parser could take for the FILE of --svg or --html
// (the value after "--svg=", the argument after "--svg") moved into the
// scratch folder, its slashes made underscores; "-" is stdout.
void confine(std::vector<std::string>& args, std::set<std::string>& files) {
  const auto namesFile = [](const std::string& a) { return a == "--svg" || a == "--html"; };
  for (std::size_t i = 0; i < args.size(); ++i) {
    const std::size_t eq = args[i].find('=');
    const bool inlineValue = eq != std::string::npos && namesFile(args[i].substr(0, eq));
    if (!inlineValue && (i == 0 || !namesFile(args[i - 1]))) continue;
    const std::size_t start = inlineValue ? eq + 1 : 0;
    std::string name = args[i].substr(start);
    if (name == "-") continue;
    std::replace(name.begin(), name.end(), '/', '_');
    args[i] = args[i].substr(0, start) + *files.insert(scratch + "/" + name).first;
  }
}

// The scratch folder holds only files that were named; they are removed.
void checkWrites(const std::set<std::string>& files) {
  DIR* dir = opendir(scratch.c_str());
  FUZZ_CHECK(dir != nullptr);
  std::vector<std::string> found;
  while (const dirent* e = readdir(dir))
    if (e->d_name != std::string(".") && e->d_name != std::string(".."))
      found.push_back(scratch + "/" + e->d_name);
  closedir(dir);
  for (const auto& path : found) {
    FUZZ_CHECK(files.count(path) == 1);
    unlink(path.c_str());
  }
}

void checkEnd(const std::vector<std::string>& args, int status, const std::string& err) {
  if (status == 0) return;
  if (status == 1) {
    const bool answers =
        !args.empty() && (args[0] == "locate" || (args[0] == "dump" && args.size() > 1 &&
                                                  (args[1] == "decode" || args[1] == "diff")));
    FUZZ_CHECK(answers && err.empty());
    return;
  }
  FUZZ_CHECK(status == Tool::kUsageError && err.size() > 1 && err.back() == '\n');
  const std::size_t lastLine = err.rfind('\n', err.size() - 2) + 1;  // 0 for the first
  FUZZ_CHECK(err.compare(lastLine, 17, "tessel-counters: ") == 0);
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  char folder[] = "/tmp/fuzz_tool.XXXXXX";
  FUZZ_CHECK(mkdtemp(folder) != nullptr);
  scratch = folder;
  char other[] = "/tmp/fuzz_tool_inputs.XXXXXX";
  FUZZ_CHECK(mkdtemp(other) != nullptr);
  inputs = other;
  std::atexit([] {
    rmdir(scratch.c_str());
    unlink((inputs + "/a").c_str());
    unlink((inputs + "/b").c_str());
    rmdir(inputs.c_str());
  });
  FUZZ_CHECK(std::freopen("/dev/null", "w", stdout) != nullptr);
  std::cerr.rdbuf(&errors);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string command = splitFiles(std::string(reinterpret_cast<const char*>(data), size));
  auto args =
      Fuzz::arguments(reinterpret_cast<const std::uint8_t*>(command.data()), command.size(), 64);
  std::set<std::string> files;
  confine(args, files);
  confineReads(args);
  std::string tool = "tessel-counters";
  std::vector<char*> argv{tool.data()};
  for (auto& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  errors.str("");
  checkEnd(args, Tool::run(static_cast<int>(argv.size() - 1), argv.data()), errors.str());
  checkWrites(files);
  return 0;
}
