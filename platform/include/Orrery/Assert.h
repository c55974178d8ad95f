// Orrery stand-in: the platform's assertion failure, kept in every build type.
#pragma once

namespace Orrery {

// Ends the process through the C library's assertion failure, naming the
// expression text, the source unit, the line and the function's signature.
// NDEBUG has no effect on it.
[[noreturn]] void assertionFailure(const char* expression, const char* unit, unsigned line,
                                   const char* function) noexcept;

}  // namespace Orrery

#define ORRERY_ASSERT_FAIL_AT(exprText, unit, line) \
  ::Orrery::assertionFailure((exprText), (unit), (line), __PRETTY_FUNCTION__)
