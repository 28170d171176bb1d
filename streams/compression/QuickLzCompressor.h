#pragma once

#include "streams/compression/QuickLzPacket.h"

namespace qpr::quicklz
{

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

} // namespace qpr::quicklz
