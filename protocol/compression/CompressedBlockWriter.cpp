#include "protocol/compression/CompressedBlockWriter.h"

#include "runtime/Errors.h"

#include <charconv>
#include <cstring>

namespace qpr
{

namespace
{

/// Room before the payload for "[10485760|"; the payload starts aligned.
constexpr std::size_t HeadRoom = 16;

/// Ours throw by themselves, with a better reason.
void Require(bool isWritten)
{
    if (!isWritten)
        throw RuntimeError(L"Failed to write compressed data");
}

} // namespace

std::uint8_t* CompressedBlockWriter::PayloadRoom(std::size_t size)
{
    m_frame.GrowTo(HeadRoom + size + 1);
    return reinterpret_cast<std::uint8_t*>(m_frame.Start()) + HeadRoom;
}

void CompressedBlockWriter::SendFrame(std::size_t size)
{
    char digits[HeadRoom];
    const auto length = static_cast<std::size_t>(std::to_chars(digits, digits + HeadRoom, size).ptr - digits);
    char* const payload = m_frame.Start() + HeadRoom;
    char* const frame = payload - length - 2;
    frame[0] = '[';
    std::memcpy(frame + 1, digits, length);
    payload[-1] = '|';
    payload[size] = ']';
    const auto frameSize = static_cast<std::streamsize>(length + 2 + size + 1);
    Require(m_output.sputn(frame, frameSize) == frameSize);
}

void CompressedBlockWriter::FlushOutput()
{
    Require(m_output.pubsync() == 0);
}

} // namespace qpr
