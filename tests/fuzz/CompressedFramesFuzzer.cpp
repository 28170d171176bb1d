#include "streams/ByteStreams.h"
#include "streams/compression/CompressedBlocks.h"
#include "tests/fuzz/FuzzTarget.h"
#include "tests/streams/PieceReader.h"

#include <vector>

namespace
{

class FrameReader : private qpr::CompressedBlockReader
{
public:
    explicit FrameReader(std::istream& input)
        : CompressedBlockReader(input)
    {
    }

    std::size_t Read(void*, std::size_t) override { return 0; }
    bool InputPending() override { return false; }

    /// The payloads, and behind them "end" or "error".
    std::vector<std::string> ReadAll(bool waiting)
    {
        std::vector<std::string> payloads;
        bool atEnd = false;
        const bool succeeded = fuzz::Succeeds(
            [&]
            {
                while (!atEnd)
                    atEnd = !ReadOne(waiting, payloads);
            });
        payloads.push_back(succeeded ? "end" : "error");
        return payloads;
    }

private:
    bool ReadOne(bool waiting, std::vector<std::string>& payloads)
    {
        FrameState state;
        do
            state = ReadFrame(waiting ? WaitForData::Yes : WaitForData::No);
        while (state == FrameState::Incomplete);
        if (state == FrameState::Complete)
            payloads.emplace_back(Payload().begin(), Payload().end());
        return state == FrameState::Complete;
    }
};

std::vector<std::string> ReadFrames(const std::string& bytes, std::size_t pieceSize, bool waiting)
{
    compression_test::PieceReader channel(bytes, pieceSize);
    qpr::GenericInputStream<compression_test::PieceReader> input(channel, 64);
    return FrameReader(input).ReadAll(waiting);
}

/// The same, found by searching the text.
std::vector<std::string> ExpectedFrames(std::string_view bytes)
{
    std::vector<std::string> payloads;
    while (!bytes.empty())
    {
        const std::size_t bar = std::min(bytes.find_first_not_of("0123456789", 1), bytes.size());
        const std::string length(bytes.substr(0, bar).substr(1));
        const bool isLength = !length.empty() && length.size() <= 8 && std::stoul(length) - 1 < 0xA00000;
        const std::size_t size = isLength ? std::stoul(length) : 0;
        if (bytes[0] != '[' || !isLength || bytes.substr(bar).size() < size + 2 || bytes[bar] != '|'
            || bytes[bar + 1 + size] != ']')
            break;
        payloads.emplace_back(bytes.substr(bar + 1, size));
        bytes.remove_prefix(bar + size + 2);
    }
    payloads.push_back(bytes.empty() ? "end" : "error");
    return payloads;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string bytes(reinterpret_cast<const char*>(data), size);
    const auto expected = ExpectedFrames(bytes);
    fuzz::Require(ReadFrames(bytes, 65536, true) == expected, "frames are taken as they stand");
    fuzz::Require(ReadFrames(bytes, 1 + size % 5, true) == expected, "pieces make no difference");
    fuzz::Require(ReadFrames(bytes, 3, false) == expected, "nor does not waiting");
    return 0;
}
