#include "runtime/Panic.h"

#include <cstdio>
#include <cstdlib>

namespace qpr
{

void Panic(const char* condition, const char* function, int line) noexcept
{
    std::fprintf(stderr, "Panic: %s failed in %s.%d\n", condition, function, line);
    std::fflush(stderr);
    std::abort();
}

void PanicWithText(std::string_view text) noexcept
{
    std::fprintf(stderr, "Panic: %.*s\n", static_cast<int>(text.size()), text.data());
    std::fflush(stderr);
    std::abort();
}

} // namespace qpr
