// Where the tool's input comes from and its output goes: files, standard
// input and standard output. A file is written whole or not at all: under a
// temporary name in its own folder, renamed over its name once complete, so a
// failure (no such folder, a full disk) leaves what was there.
#pragma once

#include <string>
#include <vector>

namespace Tool {

// Files that appear together or not at all. add() writes each under a
// temporary name beside it; commit() renames them all over their names.
// Whatever is not committed is removed when the set goes.
class FileSet {
 public:
  FileSet() = default;
  FileSet(const FileSet&) = delete;
  FileSet& operator=(const FileSet&) = delete;
  ~FileSet();

  // Stops with "cannot write 'PATH': REASON". A path that names something
  // other than a regular file (a device, a pipe) is written in place, now.
  void add(const std::string& path, const std::string& text);
  void commit();

 private:
  struct Pending {
    std::string path;       // the name it gets
    std::string temporary;  // the name it has until then
  };
  std::vector<Pending> pending_;
};

// Writes the text to the file at `path`, or to standard output for "-".
void writeOut(const std::string& path, const std::string& text);

// Whether two paths name the same file, whether it exists or not.
bool samePath(const std::string& a, const std::string& b);

// The whole contents of the file at `path`, or of standard input for "-";
// stops with "cannot read 'PATH': REASON".
std::string readIn(const std::string& path);

// The exit status once a command's output has gone: `status`, or, when
// standard output could not take it all, kUsageError after one line on
// stderr; a reader that went away (a closed pipe) ends it quietly with
// kBrokenPipe. Clears the error for the next command in the process.
constexpr int kBrokenPipe = 141;  // as a shell shows a program that SIGPIPE ended
int finishOutput(int status);

}  // namespace Tool
