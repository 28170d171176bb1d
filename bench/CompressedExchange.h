#pragma once

#include <cstddef>

/// What the benchmark of compressed calls and its servant agree on: the client sends the volume in pieces, the servant
/// sends as much back, the last pieces that it got over and over.
namespace bench::exchange
{

inline constexpr std::size_t pieceSize = 65536;
inline constexpr std::size_t sampleSize = std::size_t(32) << 20;
inline constexpr std::size_t volume = std::size_t(256) << 20; // each way
static_assert(volume % sampleSize == 0 && sampleSize % pieceSize == 0);

} // namespace bench::exchange
