#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string_view>

/// What both sides of the level-1 packet of "BlockedQLZ14" share: the header, and the table of positions that a match
/// refers to. docs/CompressedStreams.md describes the format.
namespace qpr::quicklz
{

/// Data of this size and more has the long header.
inline constexpr std::size_t LongHeaderThreshold = 216;
inline constexpr std::size_t ShortHeaderSize = 3;
inline constexpr std::size_t LongHeaderSize = 9;

struct PacketHeader
{
    bool compressed = false; ///< else stored
    std::size_t headerSize = 0;
    std::size_t packetSize = 0; ///< with the header
    std::size_t dataSize = 0; ///< unpacked
};

constexpr std::size_t HeaderSizeFor(std::size_t dataSize)
{
    return dataSize < LongHeaderThreshold ? ShortHeaderSize : LongHeaderSize;
}

/// Writes the header of a packet whose headerSize is the one for its dataSize.
void WriteHeader(const PacketHeader& header, std::uint8_t* packet);

/// Throws when the header is cut off, has another level or reserved bits, or sizes that cannot be: "Invalid
/// uncompressed block length <size>" for less than 1 or more than MaxCompressedBlockSize.
PacketHeader ReadHeader(std::span<const std::uint8_t> packet);

/// Throws "Invalid compressed data: <what>".
[[noreturn]] void ThrowInvalidData(std::wstring_view what);

/// The number of entries of the table.
inline constexpr std::size_t TableSize = 4096;

/// The table index of the position where the lowest three bytes of v stand; higher bytes do not matter.
constexpr std::uint32_t TableIndex(std::uint32_t v)
{
    return ((v >> 12) ^ v) & (TableSize - 1);
}

/// Between this and the maximum a match carries its length in a third byte, below in its length code plus 2.
inline constexpr std::size_t LongMatchThreshold = 18;
inline constexpr std::size_t MinMatch = 3;
inline constexpr std::size_t MaxMatch = 255;

/// A control word describes 31 tokens; its highest bit is the marker behind the last.
inline constexpr std::uint32_t ControlMarker = 0x80000000u;

} // namespace qpr::quicklz
