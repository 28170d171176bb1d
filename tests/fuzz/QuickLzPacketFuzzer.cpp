#include "tests/fuzz/FuzzTarget.h"
#include "tests/streams/PacketCodec.h"
#include "tests/streams/ReferenceUnpacker.h"

namespace
{

using namespace compression_test;

void CompareWithReference(const std::string& packet)
{
    std::optional<std::string> data;
    fuzz::Succeeds([&] { data = Unpack(packet); });
    fuzz::Require(data == ReferenceUnpacker().Unpack(packet), "the reference agrees");
}

/// A packet with a header that fits its tokens, so that these are reached.
std::string WithHeader(std::string_view tokens, std::size_t dataSize)
{
    std::string packet(qpr::quicklz::LongHeaderSize, '\0');
    qpr::quicklz::WriteHeader(
        {true, packet.size(), packet.size() + tokens.size(), dataSize}, reinterpret_cast<std::uint8_t*>(packet.data()));
    return packet.append(tokens);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    CompareWithReference(bytes);
    if (size < 3)
        return 0;
    CompareWithReference(WithHeader(bytes.substr(2), 1 + data[0] + 256u * (data[1] % 16)));
    const std::string packet = Pack(bytes);
    fuzz::Require(Unpack(packet) == bytes, "what was packed is unpacked");
    CompareWithReference(packet);
    return 0;
}
