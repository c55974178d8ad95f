#undef NDEBUG
#include <Orrery/Assert.h>
#include <assert.h>

namespace Orrery {

void assertionFailure(const char* expression, const char* unit, unsigned line,
                      const char* function) noexcept {
  __assert_fail(expression, unit, line, function);
}

}  // namespace Orrery
