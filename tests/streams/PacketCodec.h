#pragma once

#include "streams/compression/QuickLz.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

/// The real codec over texts. Each packet comes after others, as on a connection.
namespace compression_test
{

inline std::string Pack(std::string_view data)
{
    static qpr::quicklz::Compressor compressor;
    std::string packet(qpr::quicklz::Compressor::PacketRoom(data.size()), '\0');
    packet.resize(compressor.Compress(reinterpret_cast<const std::uint8_t*>(data.data()), data.size(),
        reinterpret_cast<std::uint8_t*>(packet.data())));
    return packet;
}

/// Copies of exact size on the heap, so that the sanitizer sees every byte too far.
inline std::string Unpack(std::string_view packet)
{
    static qpr::quicklz::Decompressor decompressor;
    const std::vector<std::uint8_t> exactPacket(packet.begin(), packet.end());
    const auto header = qpr::quicklz::ReadHeader(exactPacket);
    const auto data = std::make_unique_for_overwrite<std::uint8_t[]>(header.dataSize);
    decompressor.Decompress(header, exactPacket, data.get());
    return std::string(data.get(), data.get() + header.dataSize);
}

} // namespace compression_test
