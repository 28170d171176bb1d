#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <string_view>

/// The level-1 packet of "BlockedQLZ14": its header, the table of positions that a match refers to, and the classes
/// that make and unpack it. docs/CompressedStreams.md describes the format.
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

/// Little-endian numbers at any address; they compile to plain moves.
static_assert(std::endian::native == std::endian::little);

template <class T>
T LoadUnaligned(const std::uint8_t* from)
{
    T value;
    std::memcpy(&value, from, sizeof(T));
    return value;
}

template <class T>
void StoreUnaligned(std::uint8_t* to, T value)
{
    std::memcpy(to, &value, sizeof(T));
}

/// Makes packets, each independent of the others. Holds the table of positions, so that it is not allocated for each;
/// used by one thread at a time.
class Compressor
{
public:
    /// Room that a packet may need while it is being made, for so many bytes of data.
    static constexpr std::size_t PacketRoom(std::size_t dataSize) { return dataSize + dataSize / 7 + 64; }

    /// Packs the data into one packet, stored when packing does not make it smaller; returns the packet's size.
    /// Requires: 1 to MaxCompressedBlockSize bytes, PacketRoom(size) bytes at packet.
    std::size_t Compress(const std::uint8_t* data, std::size_t size, std::uint8_t* packet);

private:
    std::uint32_t m_table[TableSize];
};

/// Unpacks packets, each independent of the others. Holds the table of positions; used by one thread at a time.
class Decompressor
{
public:
    /// Unpacks one whole packet to exactly header.dataSize bytes at data, header being the packet's own. Packets are
    /// hostile: nothing outside the two ranges is touched, and a malformed one throws "Invalid compressed data: <what
    /// is wrong>", the data then being undefined.
    void Decompress(const PacketHeader& header, std::span<const std::uint8_t> packet, std::uint8_t* data);

private:
    std::uint32_t m_table[TableSize];
};

} // namespace qpr::quicklz
