// Wisp stand-in: trace handles with per-level masks, trace lines and message assertions.
//
// A trace line goes to stderr as one write:
//   "<handle>[<level>] <file>:<line> <function>: <text>\n"
// Levels are switched per handle name through levelIs(), and at handle
// construction from the environment variable WISP_TRACE, e.g.
//   WISP_TRACE="OrreryTesselCountersMetaInfo:0,8;OtherHandle:3"
#pragma once

#include <Hardware/Types.h>

#include <atomic>
#include <cstddef>
#include <iosfwd>

namespace Wisp {

class TraceFacility {
 public:
  enum FacilityLevel : U8 {};

  TraceFacility() = default;
  // A facility with the given levels on from the start; constant-initialised
  // where the object is static.
  constexpr explicit TraceFacility(U16 mask) : mask_(mask) {}

  bool isOn(unsigned level) const { return (mask_.load(std::memory_order_relaxed) >> level) & 1u; }
  U16 mask() const { return mask_.load(std::memory_order_relaxed); }
  void maskIs(U16 mask) { mask_.store(mask, std::memory_order_relaxed); }

 private:
  std::atomic<U16> mask_{0};
};

class TraceHandle {
 public:
  // Registers the handle under its name; levels already set for that name apply.
  TraceHandle(const char* name, bool flag);
  ~TraceHandle();
  TraceHandle(const TraceHandle&) = delete;
  TraceHandle& operator=(const TraceHandle&) = delete;

  const char* name() const { return name_; }
  TraceFacility& facility() { return facility_; }
  const TraceFacility& facility() const { return facility_; }

 private:
  const char* name_;
  TraceFacility facility_;
};

// Switches one level of every handle of that name, now and for handles built later.
void levelIs(const char* handleName, unsigned level, bool on);
// Sets all 16 levels of every handle of that name at once.
void levelMaskIs(const char* handleName, U16 mask);

// Collects the text of one line, without allocating.
class TraceStream {
 public:
  TraceStream& operator<<(const char* text);
  TraceStream& operator<<(U8 value);
  TraceStream& operator<<(int value);
  TraceStream& operator<<(U32 value);

  const char* text() const { return buf_; }
  std::size_t size() const { return size_; }

 private:
  void append(const char* text, std::size_t n);
  char buf_[1024] = {};
  std::size_t size_ = 0;
};

class TraceHelper {
 public:
  TraceHelper(TraceHandle& handle, TraceFacility::FacilityLevel level, const char* file, int line,
              const char* function);
  ~TraceHelper();  // ends the line and writes it
  TraceHelper(const TraceHelper&) = delete;
  TraceHelper& operator=(const TraceHelper&) = delete;

  TraceStream& stream() { return text_; }

 private:
  TraceStream prefix_;
  TraceStream text_;
};

// Collects the message of a failed message assertion; the destructor delivers
// it on stderr, one line. The caller then ends the process.
class SassertHelper {
 public:
  explicit SassertHelper(const char* condition);
  ~SassertHelper();
  SassertHelper(const SassertHelper&) = delete;
  SassertHelper& operator=(const SassertHelper&) = delete;

  std::ostream& stream();

 private:
  std::ostringstream* message_;  // made with the helper: a failure is rare, its header large
};

}  // namespace Wisp
