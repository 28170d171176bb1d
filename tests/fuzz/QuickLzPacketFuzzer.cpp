#include "protocol/compression/QuickLzCompressor.h"
#include "protocol/compression/QuickLzDecompressor.h"
#include "tests/fuzz/FuzzTarget.h"
#include "tests/protocol/ReferenceUnpacker.h"

#include <memory>
#include <vector>

namespace
{

using qpr::quicklz::Compressor;
using qpr::quicklz::Decompressor;

/// On the heap in exact size, so that the sanitizer sees every byte too far.
std::optional<std::string> Unpack(std::string_view packet)
{
    const std::vector<std::uint8_t> exact(packet.begin(), packet.end());
    std::optional<std::string> data;
    fuzz::Succeeds(
        [&]
        {
            const auto header = qpr::quicklz::ReadHeader(exact);
            const auto room = std::make_unique_for_overwrite<std::uint8_t[]>(header.dataSize);
            static Decompressor decompressor;
            decompressor.Decompress(header, exact, room.get());
            data.emplace(room.get(), room.get() + header.dataSize);
        });
    return data;
}

void CompareWithReference(const std::string& packet)
{
    fuzz::Require(Unpack(packet) == compression_test::ReferenceUnpacker().Unpack(packet), "the reference agrees");
}

/// A packet with a header that fits its tokens, so that these are reached.
std::string WithHeader(std::string_view tokens, std::size_t dataSize)
{
    std::string packet(qpr::quicklz::LongHeaderSize, '\0');
    qpr::quicklz::WriteHeader(
        {true, packet.size(), packet.size() + tokens.size(), dataSize}, reinterpret_cast<std::uint8_t*>(packet.data()));
    return packet.append(tokens);
}

void PackAndUnpack(std::string_view data)
{
    std::vector<std::uint8_t> packet(Compressor::PacketRoom(data.size()));
    static Compressor compressor;
    packet.resize(compressor.Compress(reinterpret_cast<const std::uint8_t*>(data.data()), data.size(), packet.data()));
    const std::string text(packet.begin(), packet.end());
    fuzz::Require(Unpack(text) == data, "what was packed is unpacked");
    CompareWithReference(text);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    CompareWithReference(bytes);
    if (size < 3)
        return 0;
    CompareWithReference(WithHeader(bytes.substr(2), 1 + data[0] + 256u * (data[1] % 16)));
    PackAndUnpack(bytes);
    return 0;
}
