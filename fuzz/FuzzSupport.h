// What the fuzz targets share: a check that stops the run, so that libFuzzer
// keeps the input that broke a property, and the fuzz input read as the
// arguments of a command line.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#define FUZZ_CHECK(cond) ((cond) ? (void)0 : ::Fuzz::checkFailed(#cond, __FILE__, __LINE__))

namespace Fuzz {

[[noreturn]] void checkFailed(const char* condition, const char* file, int line);

// The input cut at each NUL into arguments, at most `limit` of them.
std::vector<std::string> arguments(const std::uint8_t* data, std::size_t size, std::size_t limit);

}  // namespace Fuzz
