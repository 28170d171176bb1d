#include "streams/ByteStreams.h"
#include "streams/compression/BlockedRawDeflate.h"
#include "tests/fuzz/FuzzTarget.h"
#include "tests/streams/PieceReader.h"

#include <sstream>

namespace
{

constexpr std::size_t MaxOutput = 10000;

std::string Frames(std::string_view deflated, std::size_t frameSize)
{
    std::string frames;
    for (; !deflated.empty(); deflated.remove_prefix(std::min(frameSize, deflated.size())))
    {
        const std::string_view payload = deflated.substr(0, frameSize);
        frames += "[" + std::to_string(payload.size()) + "|" + std::string(payload) + "]";
    }
    return frames;
}

/// What can be read before an error or MaxOutput.
std::string Unpack(const std::string& frames, std::size_t requestSize, bool askingFirst)
{
    compression_test::PieceReader channel(frames, 1000);
    qpr::GenericInputStream<compression_test::PieceReader> input(channel, 64);
    qpr::BlockedRawDeflateReader reader(input);
    std::string all, some;
    fuzz::Succeeds(
        [&]
        {
            do
            {
                if (askingFirst)
                    reader.InputPending();
                some.resize(requestSize);
                some.resize(reader.Read(some.data(), requestSize));
                all += some;
            } while (!some.empty() && all.size() < MaxOutput);
        });
    all.resize(std::min(all.size(), MaxOutput));
    return all;
}

} // namespace

/// The first byte cuts what follows into frames.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const std::string bytes(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::string byOne = Unpack(Frames(bytes, 1 + data[0]), 1, false);
    fuzz::Require(Unpack(Frames(bytes, 1 + data[0]), 1, true) == byOne, "asking first makes no difference");
    const std::string inOneGo = Unpack(Frames(bytes, size), MaxOutput, false);
    fuzz::Require(byOne.starts_with(inOneGo), "larger requests lose nothing but what an error takes along");

    std::ostringstream channel;
    qpr::BlockedRawDeflateWriter writer(channel, qpr::BlockedRawDeflateWriter::MinBufferSize + data[0]);
    writer.Write(bytes.data(), bytes.size());
    writer.Flush();
    fuzz::Require(Unpack(channel.str(), 7, false) == bytes.substr(0, MaxOutput), "what was written is read");
    return 0;
}
