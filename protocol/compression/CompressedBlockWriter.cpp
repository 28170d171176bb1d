#include "protocol/compression/CompressedBlockWriter.h"

#include <charconv>
#include <cstring>

namespace qpr
{

namespace
{

/// Room before the payload for "[10485760|"; the payload starts aligned.
constexpr std::size_t HeadRoom = 16;

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
    m_output.write(frame, static_cast<std::streamsize>(length + 2 + size + 1));
}

} // namespace qpr
