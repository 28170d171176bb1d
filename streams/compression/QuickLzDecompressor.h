#pragma once

#include "streams/compression/QuickLzPacket.h"

namespace qpr::quicklz
{

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
