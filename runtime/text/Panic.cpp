#include "runtime/text/Panic.h"

#include <cstdio>

namespace qpr
{

void Panic(const char* condition, const char* function, int line) noexcept
{
    std::fprintf(stderr, "Panic: %s failed in %s.%d\n", condition, function, line);
    std::fflush(stderr);
    FailFast();
}

void PanicWithText(std::string_view text) noexcept
{
    std::fprintf(stderr, "Panic: %.*s\n", static_cast<int>(text.size()), text.data());
    std::fflush(stderr);
    FailFast();
}

} // namespace qpr
