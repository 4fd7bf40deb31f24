#pragma once

#include <cstdio>
#include <cstdlib>

namespace Tolm {

[[noreturn]] inline void AssertionFailed(const char* file, unsigned line, const char* expression)
{
    std::fprintf(stderr, "%s:%u: failed assertion `%s'\n", file, line, expression);
    std::fflush(stderr);
    std::abort();
}

} // namespace Tolm

// Always on, whatever NDEBUG says: some callers rely on it running after side effects.
// __FILE__ is relative to the repository root (see -fmacro-prefix-map in CMakeLists.txt).
#define TOLM_ASSERT(expr) \
    ((expr) ? static_cast<void>(0) : ::Tolm::AssertionFailed(__FILE__, static_cast<unsigned>(__LINE__), #expr))
