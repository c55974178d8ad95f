// The tool's whole command path in-process, over argument lists made from the
// fuzz input (NUL between arguments). Every run ends in status 0, in status 1
// from locate (nothing lies at that address) with nothing on stderr, or in
// status 2 with the error as the last line on stderr, one line. The files that `map`
// writes are the ones named: every FILE goes into a scratch folder of this
// program, which holds nothing else after the run.
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
std::stringbuf errors;  // what the tool writes to std::cerr

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
    FUZZ_CHECK(!args.empty() && args[0] == "locate" && err.empty());
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
  std::atexit([] { rmdir(scratch.c_str()); });
  FUZZ_CHECK(std::freopen("/dev/null", "w", stdout) != nullptr);
  std::cerr.rdbuf(&errors);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  auto args = Fuzz::arguments(data, size, 64);
  std::set<std::string> files;
  confine(args, files);
  std::string tool = "tessel-counters";
  std::vector<char*> argv{tool.data()};
  for (auto& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  errors.str("");
  checkEnd(args, Tool::run(static_cast<int>(argv.size() - 1), argv.data()), errors.str());
  checkWrites(files);
  return 0;
}
