#include "Files.h"

#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>

#include "Args.h"

namespace Tool {

void writeOut(const std::string& path, const std::string& text) {
  if (path == "-") {
    std::cout << text;
    return;
  }
  std::ofstream out(path, std::ios::binary);
  if (out) out << text;
  if (!out) fail("cannot write '" + path + "': " + std::strerror(errno));
}

}  // namespace Tool
