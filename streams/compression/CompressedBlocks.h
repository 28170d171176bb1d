#pragma once

#include "runtime/channels/IReader.h"
#include "runtime/channels/IWriter.h"

#include <cstddef>
#include <cstdint>
#include <istream>
#include <ostream>
#include <span>
#include <streambuf>
#include <string>

namespace qpr
{

/// An owned block of bytes that keeps its contents when it grows; new bytes are not initialised.
class MemoryBuffer
{
public:
    MemoryBuffer() noexcept = default;
    ~MemoryBuffer();
    MemoryBuffer(const MemoryBuffer&) = delete;
    MemoryBuffer& operator=(const MemoryBuffer&) = delete;

    char* Start() noexcept { return m_start; }
    const char* Start() const noexcept { return m_start; }
    std::size_t Size() const noexcept { return m_size; }

    /// Makes the block at least that large. It grows by half its size or more, so that growing in small steps is cheap.
    /// Throws "realloc(<size>) failed reallocating qpr::MemoryBuffer" and is then unchanged.
    void GrowTo(std::size_t size);

private:
    char* m_start = nullptr;
    std::size_t m_size = 0;
};

/// Takes frames, "[<length>|<payload>]", off a byte stream; a derived class unpacks their payloads. What arrives is
/// hostile: every malformed frame is a RuntimeError, and reading on after one fails again.
///
/// The byte stream's buffer says whether bytes can be read without waiting (in_avail).
class CompressedBlockReader : public IReader
{
protected:
    enum class WaitForData
    {
        Yes,
        OnceArriving, ///< only if a part of it is there
        No, ///< take only what is there
    };

    enum class FrameState
    {
        Complete, ///< the payload is there
        Incomplete, ///< not all of it has arrived; never with WaitForData::Yes
        End, ///< the data ended before another frame
    };

    /// The byte stream is not owned and outlives the reader.
    explicit CompressedBlockReader(std::istream& input)
        : m_input(*input.rdbuf())
    {
    }

    /// Reads the next frame, or continues with an incomplete one. The payload stays until the next call.
    FrameState ReadFrame(WaitForData wait);

    std::span<const std::uint8_t> Payload() const;

    /// True when the byte stream has bytes, or its end, to give at once.
    bool InputAvailable() { return m_input.in_avail() != 0; }

private:
    enum class Step
    {
        Start,
        Length,
        Payload,
        End,
    };

    bool AtEnd();
    int PeekByte();
    void ExpectDelimiter(char expected, const wchar_t* context);
    void TakeByte(Step next);
    void TakeLengthDigit();
    void TakePayload(WaitForData wait);

    std::streambuf& m_input; // not owned
    MemoryBuffer m_payload;
    Step m_step = Step::Start;
    std::string m_length;
    std::size_t m_payloadSize = 0;
    std::size_t m_payloadRead = 0;
};

/// The most bytes that one frame holds, and that one packet may become when it is unpacked.
inline constexpr std::size_t MaxCompressedBlockSize = 0xA00000;

/// Writes compressed bytes as frames, "[<length>|<payload>]". A derived class compresses into the payload room and
/// sends it; a frame goes to the byte stream in one write. Nothing is written in destructors.
class CompressedBlockWriter : public IWriter
{
protected:
    /// The byte stream is not owned and outlives the writer. Only its buffer is used, so that a write that throws
    /// leaves the stream itself as it was.
    explicit CompressedBlockWriter(std::ostream& output)
        : m_output(*output.rdbuf())
    {
    }

    /// Room for at least so many bytes of payload. Its contents survive until the next call with a larger size.
    std::uint8_t* PayloadRoom(std::size_t size);

    /// Sends the first size bytes of the payload room, 1 to MaxCompressedBlockSize, as one frame.
    void SendFrame(std::size_t size);

    void FlushOutput();

private:
    std::streambuf& m_output; // not owned
    MemoryBuffer m_frame; ///< room for the longest frame head, the payload, the end delimiter
};

} // namespace qpr
