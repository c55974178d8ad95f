// The tool's whole command path in-process, over argument lists made from the
// fuzz input (NUL between arguments), run inside a scratch folder of this
// program, its working folder while it runs. Every argument is confined there: its
// slashes become underscores and ".." another name, so whatever path the
// input gives (a map's FILE, a site's DIR) names a file or folder in the
// scratch folder. After each run:
// - nothing changed outside: the folder the fuzzer started in lists the same
//   names, the input folder holds its files alone;
// - status 0, or 1 from the commands that answer "not found" or "differ"
//   (locate, dump decode, dump diff) with nothing on stderr: what the tool
//   printed is whole (JSON that parses where --json was given, text that ends
//   in a line end), each file it was told to write is there and whole, and
//   nothing else is; notes on stderr are lines of their own;
// - status 2: exactly one error line, the last on stderr, after notes only,
//   and no file written.
// The scratch folder is emptied after each run.
//
// What follows three NULs in the input is the text of a file A, and what
// follows three more that of a file B: standard input reads A, every @FILE
// is A, and the dumps of dump decode and dump diff are A and B in turn.
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <optional>
#include <set>
#include <sstream>

#include "Args.h"
#include "FuzzSupport.h"
#include "ModelJson.h"
#include "Run.h"

namespace fs = std::filesystem;

namespace {

fs::path scratch;  // the tool's working folder, the one place it may write
fs::path inputs;   // the files A and B, which the tool reads, and its stdout
fs::path home;     // the folder the fuzzer started in
std::set<std::string> homeNames;
std::stringbuf errors;  // what the tool writes to std::cerr

std::set<std::string> namesIn(const fs::path& dir) {
  std::set<std::string> out;
  for (const auto& e : fs::directory_iterator(dir)) out.insert(e.path().filename().string());
  return out;
}

std::string readFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

bool endsWith(const std::string& text, const std::string& end) {
  return text.size() >= end.size() && text.compare(text.size() - end.size(), end.size(), end) == 0;
}

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
  for (int k = 0; k < 2; ++k)
    std::ofstream(inputs / (k ? "b" : "a"), std::ios::binary) << parts[1 + k];
  FUZZ_CHECK(std::freopen((inputs / "a").c_str(), "rb", stdin) != nullptr);
  return parts[0];
}

// Every argument a name in the scratch folder, or in a value after '=': no
// slash, and ".." renamed.
void confine(std::vector<std::string>& args) {
  for (auto& a : args) {
    std::replace(a.begin(), a.end(), '/', '_');
    const std::size_t eq = a.find('=');
    const std::size_t start = eq == std::string::npos ? 0 : eq + 1;
    if (a.compare(start, std::string::npos, "..") == 0) a.replace(start, 2, "__");
  }
}

// What the tool reads is A and B alone: "@FILE" becomes "@A", and the FILEs
// of dump decode and dump diff (what no option takes) A and B in turn.
void confineReads(std::vector<std::string>& args) {
  const bool dump = args.size() > 1 && args[0] == "dump";
  int next = 0;
  for (std::size_t i = 0; i < args.size(); ++i) {
    if (!args[i].empty() && args[i][0] == '@') args[i] = "@" + (inputs / "a").string();
    if (!dump || i < 2 || args[i].rfind("--", 0) == 0 || args[i] == "-") continue;
    const std::string& before = args[i - 1];
    const bool value = before.find('=') == std::string::npos &&
                       (before == "--chip" || before == "--variant" || before == "--class");
    if (!value) args[i] = (inputs / (next++ % 2 ? "b" : "a")).string();
  }
}

// The value of `option` ("--svg FILE" or "--svg=FILE"), if given.
std::optional<std::string> optionValue(const std::vector<std::string>& args,
                                       const std::string& option) {
  for (std::size_t i = 0; i < args.size(); ++i) {
    if (args[i] == option && i + 1 < args.size()) return args[i + 1];
    if (args[i].rfind(option + "=", 0) == 0) return args[i].substr(option.size() + 1);
  }
  return std::nullopt;
}

// A path the tool was told to write, which confine() made a name in the
// scratch folder (or the folder itself).
fs::path inScratch(const std::string& name) {
  const fs::path path = fs::path(name).lexically_normal();
  FUZZ_CHECK(path.is_relative() && *path.begin() != "..");
  return path;
}

// What a successful run was told to write: map's --svg and --html files
// (each whole: its text's last line), and site's folder (its list of what it
// wrote, each there, and an index page). Every file in the scratch folder is
// one of them, or in the site's folder.
void checkWritten(const std::vector<std::string>& args) {
  std::set<fs::path> named;
  fs::path site;
  const bool help = std::find(args.begin(), args.end(), "--help") != args.end();
  if (!help && args[0] == "map") {
    for (const auto& [option, end] : {std::pair{"--svg", "</svg>\n"}, {"--html", "</html>\n"}}) {
      const auto file = optionValue(args, option);
      if (!file || *file == "-") continue;
      FUZZ_CHECK(endsWith(readFile(scratch / inScratch(*file)), end));
      named.insert(inScratch(*file));
    }
  }
  if (!help && args[0] == "site") {
    site = inScratch(args[1]);
    std::istringstream list(readFile(scratch / site / ".tessel-counters-site"));
    std::string line;
    FUZZ_CHECK(std::getline(list, line) && line[0] == '#');
    std::size_t listed = 0;
    for (; std::getline(list, line); ++listed)
      FUZZ_CHECK(fs::is_regular_file(scratch / site / line));
    FUZZ_CHECK(listed > 2 && endsWith(readFile(scratch / site / "index.html"), "</html>\n"));
  }
  for (const auto& e : fs::recursive_directory_iterator(scratch)) {
    const fs::path rel = e.path().lexically_relative(scratch);
    const bool inSite = !site.empty() && (site == "." || *rel.begin() == *site.begin());
    FUZZ_CHECK(inSite || (e.is_regular_file() && named.count(rel) == 1));
  }
}

// Output that is whole: JSON where --json was asked for (a line of JSON per
// entry from the dump commands), and text that ends a line.
void checkOutput(const std::vector<std::string>& args, const std::string& out) {
  FUZZ_CHECK(out.empty() || out.back() == '\n');
  const bool json = std::find(args.begin(), args.end(), "--json") != args.end() &&
                    std::find(args.begin(), args.end(), "--help") == args.end();
  if (!json || out.empty()) return;
  if (args[0] != "dump") {
    FUZZ_CHECK(Tool::Json::accept(out));
    return;
  }
  std::istringstream lines(out);
  for (std::string line; std::getline(lines, line);) FUZZ_CHECK(Tool::Json::accept(line));
}

// The lines on stderr: notes, and after a failure one error line, the last.
void checkErrors(int status, const std::string& err) {
  FUZZ_CHECK(err.empty() || err.back() == '\n');
  std::istringstream lines(err);
  std::size_t errorLines = 0;
  for (std::string line; std::getline(lines, line);) {
    const bool error = line.rfind("tessel-counters: ", 0) == 0;
    FUZZ_CHECK(error || line.rfind("note: ", 0) == 0);
    FUZZ_CHECK(errorLines == 0);  // nothing after the error line
    errorLines += error;
  }
  FUZZ_CHECK(errorLines == (status == Tool::kUsageError ? 1u : 0u));
}

void checkEnd(const std::vector<std::string>& args, int status, const std::string& out,
              const std::string& err) {
  FUZZ_CHECK(status == 0 || status == 1 || status == Tool::kUsageError);
  checkErrors(status, err);
  if (status == 1) {
    const bool answers =
        !args.empty() && (args[0] == "locate" || (args[0] == "dump" && args.size() > 1 &&
                                                  (args[1] == "decode" || args[1] == "diff")));
    FUZZ_CHECK(answers && err.empty());
  }
  if (status == Tool::kUsageError) {
    // Written whole or not at all: no file, at most an empty folder of site.
    for (const auto& e : fs::recursive_directory_iterator(scratch))
      FUZZ_CHECK(e.is_directory() && fs::is_empty(e.path()));
  } else {
    checkOutput(args, out);
    checkWritten(args);
  }
  FUZZ_CHECK(namesIn(home) == homeNames);
  FUZZ_CHECK(namesIn(inputs) == (std::set<std::string>{"a", "b", "out"}));
}

}  // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
  home = fs::current_path();
  homeNames = namesIn(home);
  char folder[] = "/tmp/fuzz_tool.XXXXXX";
  FUZZ_CHECK(mkdtemp(folder) != nullptr);
  scratch = folder;
  char other[] = "/tmp/fuzz_tool_inputs.XXXXXX";
  FUZZ_CHECK(mkdtemp(other) != nullptr);
  inputs = other;
  std::atexit([] {
    std::error_code ignored;
    fs::remove_all(scratch, ignored);
    fs::remove_all(inputs, ignored);
  });
  FUZZ_CHECK(std::freopen((inputs / "out").c_str(), "w+", stdout) != nullptr);
  std::cerr.rdbuf(&errors);
  return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string command = splitFiles(std::string(reinterpret_cast<const char*>(data), size));
  auto args =
      Fuzz::arguments(reinterpret_cast<const std::uint8_t*>(command.data()), command.size(), 64);
  confine(args);
  confineReads(args);
  std::string tool = "tessel-counters";
  std::vector<char*> argv{tool.data()};
  for (auto& a : args) argv.push_back(a.data());
  argv.push_back(nullptr);
  errors.str("");
  FUZZ_CHECK(std::fflush(stdout) == 0 && ftruncate(fileno(stdout), 0) == 0);
  std::rewind(stdout);
  fs::current_path(scratch);
  const int status = Tool::run(static_cast<int>(argv.size() - 1), argv.data());
  fs::current_path(home);
  std::cout.flush();
  std::fflush(stdout);
  checkEnd(args, status, readFile(inputs / "out"), errors.str());
  for (const auto& e : fs::directory_iterator(scratch)) fs::remove_all(e.path());
  return 0;
}
