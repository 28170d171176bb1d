#pragma once

#include <cstddef>

namespace test
{

/// How many handles this process has open.
std::ptrdiff_t CountOpenHandles();

} // namespace test
