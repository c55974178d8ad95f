#include "FuzzSupport.h"

#include <cstdio>
#include <cstdlib>
#include <sstream>

namespace Fuzz {

void checkFailed(const char* condition, const char* file, int line) {
  std::fprintf(stderr, "%s:%d: fuzz check failed: %s\n", file, line, condition);
  std::abort();
}

std::vector<std::string> arguments(const std::uint8_t* data, std::size_t size, std::size_t limit) {
  std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
  std::vector<std::string> out;
  for (std::string arg; out.size() < limit && std::getline(in, arg, '\0');) out.push_back(arg);
  return out;
}

}  // namespace Fuzz
