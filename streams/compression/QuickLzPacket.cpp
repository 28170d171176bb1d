#include "streams/compression/QuickLz.h"

#include "runtime/text/Errors.h"
#include "streams/compression/CompressedBlocks.h"

#include <string>

namespace qpr::quicklz
{

namespace
{

constexpr std::uint8_t FlagCompressed = 0x01;
constexpr std::uint8_t FlagLongHeader = 0x02;
constexpr std::uint8_t FlagsOfLevel1 = 0x44;

} // namespace

void WriteHeader(const PacketHeader& header, std::uint8_t* packet)
{
    packet[0] = FlagsOfLevel1 | (header.compressed ? FlagCompressed : 0);
    if (header.headerSize == ShortHeaderSize)
    {
        packet[1] = static_cast<std::uint8_t>(header.packetSize);
        packet[2] = static_cast<std::uint8_t>(header.dataSize);
        return;
    }
    packet[0] |= FlagLongHeader;
    StoreUnaligned(packet + 1, static_cast<std::uint32_t>(header.packetSize));
    StoreUnaligned(packet + 5, static_cast<std::uint32_t>(header.dataSize));
}

PacketHeader ReadHeader(std::span<const std::uint8_t> packet)
{
    if (packet.empty())
        ThrowInvalidData(L"header cut off");
    const std::uint8_t flags = packet[0];
    if ((flags & ~(FlagCompressed | FlagLongHeader)) != FlagsOfLevel1)
        ThrowInvalidData(L"packet flags " + std::to_wstring(flags));

    PacketHeader header;
    header.compressed = (flags & FlagCompressed) != 0;
    header.headerSize = (flags & FlagLongHeader) != 0 ? LongHeaderSize : ShortHeaderSize;
    if (packet.size() < header.headerSize)
        ThrowInvalidData(L"header cut off");
    if (header.headerSize == ShortHeaderSize)
    {
        header.packetSize = packet[1];
        header.dataSize = packet[2];
    }
    else
    {
        header.packetSize = LoadUnaligned<std::uint32_t>(packet.data() + 1);
        header.dataSize = LoadUnaligned<std::uint32_t>(packet.data() + 5);
    }
    if (header.dataSize < 1 || header.dataSize > MaxCompressedBlockSize)
        throw RuntimeError(L"Invalid uncompressed block length " + std::to_wstring(header.dataSize));
    if (header.packetSize != packet.size())
        ThrowInvalidData(L"packet size " + std::to_wstring(header.packetSize) + L" in a block of "
            + std::to_wstring(packet.size()) + L" bytes");
    return header;
}

void ThrowInvalidData(std::wstring_view what)
{
    throw RuntimeError(L"Invalid compressed data: " + std::wstring(what));
}

} // namespace qpr::quicklz
