#pragma once

#include <cstddef>
#include <cstdint>

namespace test
{

/// How fast data goes: at most so many bytes at once, and a pause after each time.
struct Pace
{
    std::size_t pieceSize = 65536;
    std::uint32_t pauseMs = 0;
};

} // namespace test
