#include "streams/compression/CompressedBlocks.h"

#include "runtime/text/Errors.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <cstring>

// The reader is a state machine over "[<length>|<payload>]" that can stop after any byte, so that a frame which arrives
// in pieces can be taken without waiting for its end.

namespace qpr
{

MemoryBuffer::~MemoryBuffer()
{
    std::free(m_start);
}

void MemoryBuffer::GrowTo(std::size_t size)
{
    if (size <= m_size)
        return;
    const std::size_t newSize = std::max(size, m_size + m_size / 2);
    void* const start = std::realloc(m_start, newSize);
    if (!start)
        throw RuntimeError(L"realloc(" + std::to_wstring(newSize) + L") failed reallocating qpr::MemoryBuffer");
    m_start = static_cast<char*>(start);
    m_size = newSize;
}

namespace
{

using Traits = std::streambuf::traits_type;

/// A longer length is refused before its delimiter has come.
constexpr std::size_t MaxLengthText = 20;
constexpr std::size_t MaxLengthDigits = 8;

bool IsDigit(int byte)
{
    return byte >= '0' && byte <= '9';
}

/// "'x' (120)".
std::wstring QuotedByte(int byte)
{
    return L"'" + std::wstring(1, static_cast<wchar_t>(byte)) + L"' (" + std::to_wstring(byte) + L")";
}

[[noreturn]] void ThrowEndInsideFrame()
{
    throw RuntimeError(L"Unexpected end of stream reading compressed data");
}

[[noreturn]] void ThrowInvalidLength(std::wstring_view length)
{
    throw RuntimeError(L"Invalid compressed block length " + std::wstring(length));
}

std::size_t ParseLength(const std::string& text)
{
    std::size_t length = 0;
    std::from_chars(text.data(), text.data() + text.size(), length);
    if (text.size() > MaxLengthDigits || length < 1 || length > MaxCompressedBlockSize)
        ThrowInvalidLength(std::wstring(text.begin(), text.end()));
    return length;
}

} // namespace

CompressedBlockReader::FrameState CompressedBlockReader::ReadFrame(WaitForData wait)
{
    if (wait == WaitForData::OnceArriving && !InputAvailable())
        return FrameState::Incomplete;
    for (;;)
    {
        if (wait == WaitForData::No && !InputAvailable())
            return FrameState::Incomplete;
        switch (m_step)
        {
        case Step::Start:
            if (AtEnd())
                return FrameState::End;
            ExpectDelimiter('[', L"at start of compressed block");
            TakeByte(Step::Length);
            break;
        case Step::Length:
            TakeLengthDigit();
            break;
        case Step::Payload:
            TakePayload(wait);
            break;
        case Step::End:
            ExpectDelimiter(']', L"after compressed data");
            TakeByte(Step::Start);
            return FrameState::Complete;
        }
    }
}

std::span<const std::uint8_t> CompressedBlockReader::Payload() const
{
    return {reinterpret_cast<const std::uint8_t*>(m_payload.Start()), m_payloadSize};
}

bool CompressedBlockReader::AtEnd()
{
    return Traits::eq_int_type(m_input.sgetc(), Traits::eof());
}

/// Looks at the next byte without taking it, so that a wrong one is found again when reading goes on.
int CompressedBlockReader::PeekByte()
{
    if (AtEnd())
        ThrowEndInsideFrame();
    return static_cast<unsigned char>(Traits::to_char_type(m_input.sgetc()));
}

void CompressedBlockReader::ExpectDelimiter(char expected, const wchar_t* context)
{
    const int got = PeekByte();
    if (got != expected)
        throw RuntimeError(
            L"Expected delimiter " + QuotedByte(expected) + L" " + context + L" but got " + QuotedByte(got));
}

void CompressedBlockReader::TakeByte(Step next)
{
    m_input.sbumpc();
    m_step = next;
}

void CompressedBlockReader::TakeLengthDigit()
{
    const int byte = PeekByte();
    if (IsDigit(byte) && m_length.size() < MaxLengthText)
    {
        m_length += static_cast<char>(byte);
        return TakeByte(Step::Length);
    }
    if (m_length.empty())
        ThrowInvalidLength(QuotedByte(byte));
    if (m_length.size() < MaxLengthText)
        ExpectDelimiter('|', L"after length of compressed block");
    m_payloadSize = ParseLength(m_length);
    m_payload.GrowTo(m_payloadSize);
    m_payloadRead = 0;
    m_length.clear();
    TakeByte(Step::Payload);
}

void CompressedBlockReader::TakePayload(WaitForData wait)
{
    std::streamsize count = static_cast<std::streamsize>(m_payloadSize - m_payloadRead);
    if (wait == WaitForData::No)
        count = std::clamp<std::streamsize>(m_input.in_avail(), 1, count);
    const std::streamsize taken = m_input.sgetn(m_payload.Start() + m_payloadRead, count);
    if (taken < count)
        ThrowEndInsideFrame();
    m_payloadRead += static_cast<std::size_t>(taken);
    if (m_payloadRead == m_payloadSize)
        m_step = Step::End;
}

namespace
{

/// Room before the payload for "[10485760|"; the payload starts aligned.
constexpr std::size_t HeadRoom = 16;

/// For byte streams other than ours, which throw by themselves and with a better text.
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
