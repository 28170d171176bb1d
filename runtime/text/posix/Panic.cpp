#include "runtime/text/Panic.h"

#include <cstdlib>

namespace qpr
{

void FailFast() noexcept
{
    std::abort();
}

} // namespace qpr
