#include "Files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <iostream>

#include "Args.h"

namespace Tool {

namespace {

namespace fs = std::filesystem;

// What readIn takes at most: a dump of the largest chip is a few MiB.
constexpr std::size_t kMaxInput = std::size_t{256} << 20;

[[noreturn]] void cannot(const char* verb, const std::string& path, int error) {
  fail(std::string("cannot ") + verb + " " + quoted(path) + ": " + std::strerror(error));
}

// The text written to the open file `fd`; 0, or the errno of the failure.
int writeAll(int fd, const std::string& text) {
  for (std::size_t done = 0; done < text.size();) {
    const ssize_t n = ::write(fd, text.data() + done, text.size() - done);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) return n < 0 ? errno : EIO;
    done += static_cast<std::size_t>(n);
  }
  return 0;
}

// The mode a new file gets from open(): 0666 less the process's umask.
mode_t newFileMode() {
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

}  // namespace

FileSet::~FileSet() {
  for (const auto& p : pending_) ::unlink(p.temporary.c_str());
}

void FileSet::add(const std::string& path, const std::string& text) {
  struct stat st {};
  const bool exists = ::stat(path.c_str(), &st) == 0;
  if (exists && !S_ISREG(st.st_mode)) {
    // A device or a pipe can't be replaced: it takes the text as it comes.
    const int fd = ::open(path.c_str(), O_WRONLY | O_CLOEXEC);
    if (fd < 0) cannot("write", path, errno);
    int error = writeAll(fd, text);
    if (::close(fd) != 0 && !error) error = errno;
    if (error) cannot("write", path, error);
    return;
  }
  // Beside the file itself, also where `path` is a link to it, so that the
  // rename replaces the file and keeps the link.
  std::error_code ec;
  const fs::path target = exists ? fs::canonical(path, ec) : fs::path(path);
  if (ec) cannot("write", path, ec.value());
  std::string temporary =
      (target.parent_path() / ("." + target.filename().string() + ".tc-XXXXXX")).string();
  const int fd = ::mkstemp(temporary.data());
  if (fd < 0) cannot("write", path, errno);
  pending_.push_back({target.string(), temporary});
  int error = ::fchmod(fd, exists ? (st.st_mode & 07777) : newFileMode()) == 0 ? 0 : errno;
  if (!error) error = writeAll(fd, text);
  if (::close(fd) != 0 && !error) error = errno;
  if (error) cannot("write", path, error);
}

void FileSet::commit() {
  for (const auto& p : pending_)
    if (std::rename(p.temporary.c_str(), p.path.c_str()) != 0) cannot("write", p.path, errno);
  pending_.clear();
}

void writeOut(const std::string& path, const std::string& text) {
  if (path == "-") {
    std::cout << text;
    return;
  }
  FileSet files;
  files.add(path, text);
  files.commit();
}

bool samePath(const std::string& a, const std::string& b) {
  std::error_code ec;
  if (fs::equivalent(a, b, ec)) return true;
  const fs::path x = fs::weakly_canonical(a, ec);
  if (ec) return fs::absolute(a).lexically_normal() == fs::absolute(b).lexically_normal();
  const fs::path y = fs::weakly_canonical(b, ec);
  return !ec && x == y;
}

std::string readIn(const std::string& path) {
  const bool standardInput = path == "-";
  const int fd = standardInput ? STDIN_FILENO : ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  const auto failed = [&](const std::string& why) {
    fail("cannot read " + (standardInput ? std::string("standard input") : quoted(path)) + ": " +
         why);
  };
  if (fd < 0) failed(std::strerror(errno));
  std::string text;
  char buffer[1 << 16];
  int error = 0;
  while (text.size() <= kMaxInput) {
    const ssize_t n = ::read(fd, buffer, sizeof buffer);
    if (n < 0 && errno == EINTR) continue;
    if (n <= 0) {
      error = n < 0 ? errno : 0;
      break;
    }
    text.append(buffer, static_cast<std::size_t>(n));
  }
  if (!standardInput) ::close(fd);
  if (error) failed(std::strerror(error));
  if (text.size() > kMaxInput)
    failed("more than " + std::to_string(kMaxInput >> 20) + " MiB, far more than a dump of a chip");
  return text;
}

int finishOutput(int status) {
  // Why a write failed: the errno of the flush here, or, when the failed
  // write came before and left nothing to flush, that of the write, which is
  // the last call of the command that failed.
  const int before = errno;
  errno = 0;
  std::cout.flush();
  const bool failed = std::fflush(stdout) != 0 || std::ferror(stdout) || !std::cout;
  const int error = errno ? errno : before;
  std::clearerr(stdout);
  std::cout.clear();
  // After an error, its line is the one line the command leaves.
  if (!failed || status == kUsageError) return status;
  if (error == EPIPE) return kBrokenPipe;
  std::cerr << "tessel-counters: cannot write standard output: "
            << (error ? std::strerror(error) : "the output stream failed") << "\n";
  return kUsageError;
}

}  // namespace Tool
