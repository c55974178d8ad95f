// A small writer of JSON text: keys in the order written, two-space indent.
#pragma once

#include <ostream>
#include <string>
#include <vector>

namespace Tool {

class Json {
 public:
  explicit Json(std::ostream& out) : out_(out) {}

  Json& beginObject(const char* key = nullptr) { return open(key, '{'); }
  Json& endObject() { return close('}'); }
  Json& beginArray(const char* key = nullptr) { return open(key, '['); }
  Json& endArray() { return close(']'); }

  Json& value(const char* key, const std::string& s) {
    item(key);
    quote(s);
    return *this;
  }
  Json& value(const char* key, const char* s) { return value(key, std::string(s)); }
  Json& value(const char* key, unsigned long long n) {
    item(key);
    out_ << n;
    return *this;
  }
  Json& value(const char* key, unsigned n) {
    return value(key, static_cast<unsigned long long>(n));
  }
  Json& value(const char* key, bool b) {
    item(key);
    out_ << (b ? "true" : "false");
    return *this;
  }

  void finish() { out_ << "\n"; }

 private:
  Json& open(const char* key, char bracket) {
    item(key);
    out_ << bracket;
    first_.push_back(true);
    return *this;
  }
  Json& close(char bracket) {
    const bool empty = first_.back();
    first_.pop_back();
    if (!empty) newline();
    out_ << bracket;
    return *this;
  }
  void item(const char* key) {
    if (!first_.empty()) {
      if (!first_.back()) out_ << ",";
      first_.back() = false;
      newline();
    }
    if (key) {
      quote(key);
      out_ << ": ";
    }
  }
  void newline() { out_ << "\n" << std::string(2 * first_.size(), ' '); }
  void quote(const std::string& s) {
    static const char* const kHex = "0123456789abcdef";
    out_ << '"';
    for (unsigned char c : s) {
      if (c == '"' || c == '\\') {
        out_ << '\\' << c;
      } else if (c < 0x20) {
        out_ << "\\u00" << kHex[c >> 4] << kHex[c & 0xf];
      } else {
        out_ << c;
      }
    }
    out_ << '"';
  }

  std::ostream& out_;
  std::vector<bool> first_;
};

}  // namespace Tool
