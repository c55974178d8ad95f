#include <Wisp/Trace.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <mutex>
#include <sstream>
#include <string>
#include <vector>

namespace Wisp {
namespace {

struct Registry {
  std::mutex mutex;
  std::vector<TraceHandle*> handles;
  // Masks set by name, applied to handles registered later.
  std::vector<std::pair<std::string, U16>> masks;

  U16* findMask(const char* name) {
    for (auto& entry : masks)
      if (entry.first == name) return &entry.second;
    return nullptr;
  }
  U16& maskFor(const char* name) {
    if (U16* m = findMask(name)) return *m;
    masks.emplace_back(name, 0);
    return masks.back().second;
  }
};

Registry& registry() {
  static Registry* r = new Registry;  // never destroyed: handles may outlive static destruction
  return *r;
}

// WISP_TRACE="name:0,8;other:3"
void readEnvironment(Registry& r) {
  static bool done = false;
  if (done) return;
  done = true;
  const char* env = std::getenv("WISP_TRACE");
  if (env == nullptr) return;
  std::string setting(env);
  std::size_t pos = 0;
  while (pos <= setting.size()) {
    std::size_t end = setting.find(';', pos);
    if (end == std::string::npos) end = setting.size();
    const std::string item = setting.substr(pos, end - pos);
    const std::size_t colon = item.find(':');
    if (colon != std::string::npos && colon > 0) {
      U16& mask = r.maskFor(item.substr(0, colon).c_str());
      std::size_t p = colon + 1;
      while (p < item.size()) {
        std::size_t comma = item.find(',', p);
        if (comma == std::string::npos) comma = item.size();
        const std::string level = item.substr(p, comma - p);
        char* stop = nullptr;
        const long n = std::strtol(level.c_str(), &stop, 10);
        if (!level.empty() && *stop == '\0' && n >= 0 && n < 16)
          mask = static_cast<U16>(mask | (1u << n));
        p = comma + 1;
      }
    }
    pos = end + 1;
  }
}

void writeAll(const char* data, std::size_t n) {
  while (n > 0) {
    const ssize_t w = ::write(2, data, n);
    if (w <= 0) return;
    data += w;
    n -= static_cast<std::size_t>(w);
  }
}

}  // namespace

TraceHandle::TraceHandle(const char* name, bool flag) : name_(name) {
  (void)flag;
  Registry& r = registry();
  std::lock_guard<std::mutex> lock(r.mutex);
  readEnvironment(r);
  if (const U16* mask = r.findMask(name)) facility_.maskIs(*mask);
  r.handles.push_back(this);
}

TraceHandle::~TraceHandle() {
  Registry& r = registry();
  std::lock_guard<std::mutex> lock(r.mutex);
  r.handles.erase(std::remove(r.handles.begin(), r.handles.end(), this), r.handles.end());
}

void levelMaskIs(const char* handleName, U16 mask) {
  Registry& r = registry();
  std::lock_guard<std::mutex> lock(r.mutex);
  readEnvironment(r);
  r.maskFor(handleName) = mask;
  for (TraceHandle* h : r.handles)
    if (std::strcmp(h->name(), handleName) == 0) h->facility().maskIs(mask);
}

void levelIs(const char* handleName, unsigned level, bool on) {
  if (level >= 16) return;
  U16 mask;
  {
    Registry& r = registry();
    std::lock_guard<std::mutex> lock(r.mutex);
    readEnvironment(r);
    mask = r.maskFor(handleName);
  }
  mask = on ? static_cast<U16>(mask | (1u << level)) : static_cast<U16>(mask & ~(1u << level));
  levelMaskIs(handleName, mask);
}

void TraceStream::append(const char* text, std::size_t n) {
  const std::size_t room = sizeof(buf_) - 1 - size_;
  if (n > room) n = room;
  std::memcpy(buf_ + size_, text, n);
  size_ += n;
  buf_[size_] = '\0';
}

TraceStream& TraceStream::operator<<(const char* text) {
  append(text, std::strlen(text));
  return *this;
}

TraceStream& TraceStream::operator<<(int value) {
  char tmp[16];
  const int n = std::snprintf(tmp, sizeof(tmp), "%d", value);
  append(tmp, static_cast<std::size_t>(n));
  return *this;
}

TraceStream& TraceStream::operator<<(U32 value) {
  char tmp[16];
  const int n = std::snprintf(tmp, sizeof(tmp), "%u", value);
  append(tmp, static_cast<std::size_t>(n));
  return *this;
}

TraceStream& TraceStream::operator<<(U8 value) {
  return *this << static_cast<U32>(value);
}

TraceHelper::TraceHelper(TraceHandle& handle, TraceFacility::FacilityLevel level, const char* file,
                         int line, const char* function) {
  prefix_ << handle.name() << "[" << static_cast<int>(level) << "] " << file << ":" << line << " "
          << function << ": ";
}

TraceHelper::~TraceHelper() {
  char line[2100];
  const int n = std::snprintf(line, sizeof(line), "%s%s\n", prefix_.text(), text_.text());
  if (n > 0) writeAll(line, std::min(static_cast<std::size_t>(n), sizeof(line) - 1));
}

// The condition is delivered by the assertion that follows the message.
SassertHelper::SassertHelper(const char* /*condition*/) : message_(new std::ostringstream) {}

SassertHelper::~SassertHelper() {
  std::string text = message_->str();
  text += '\n';
  writeAll(text.data(), text.size());
  delete message_;
}

std::ostream& SassertHelper::stream() {
  return *message_;
}

}  // namespace Wisp
