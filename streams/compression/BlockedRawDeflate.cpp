#include "streams/compression/BlockedRawDeflate.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

// Frames cut the deflate stream anywhere: a frame may hold no whole byte of data, and inflate may still have output of
// the frame before.

namespace qpr
{

BlockedRawDeflateReader::BlockedRawDeflateReader(std::istream& input)
    : CompressedBlockReader(input)
{
    const int result = inflateInit2(&m_stream, -MAX_WBITS);
    if (result != Z_OK)
        ThrowZlibError(L"inflateInit2() failed", result);
}

BlockedRawDeflateReader::~BlockedRawDeflateReader()
{
    inflateEnd(&m_stream);
}

std::size_t BlockedRawDeflateReader::Read(void* buffer, std::size_t size)
{
    if (size == 0)
        return 0;
    auto* const target = static_cast<std::uint8_t*>(buffer);
    if (!m_hasByteAhead)
        return Unpack(target, size, WaitForData::Yes);
    target[0] = m_byteAhead;
    m_hasByteAhead = false;
    return 1 + Unpack(target + 1, size - 1, WaitForData::OnceArriving);
}

bool BlockedRawDeflateReader::InputPending()
{
    if (!m_hasByteAhead && !m_endSeen)
        m_hasByteAhead = Unpack(&m_byteAhead, 1, WaitForData::No) != 0;
    return m_hasByteAhead || m_endSeen;
}

/// Returns the number of bytes produced. Once there are some, it waits only for a frame that is already arriving.
std::size_t BlockedRawDeflateReader::Unpack(std::uint8_t* target, std::size_t size, WaitForData wait)
{
    const std::size_t room = std::min<std::size_t>(size, std::numeric_limits<uInt>::max());
    m_stream.next_out = target;
    m_stream.avail_out = static_cast<uInt>(room);
    while (m_stream.avail_out != 0)
    {
        if (m_stream.avail_in == 0 && !m_outputHeldBack && !FetchInput(wait))
            break;
        Inflate();
        if (wait == WaitForData::Yes && m_stream.avail_out != room)
            wait = WaitForData::OnceArriving;
    }
    return room - m_stream.avail_out;
}

bool BlockedRawDeflateReader::FetchInput(WaitForData wait)
{
    if (m_endSeen)
        return false;
    const FrameState state = ReadFrame(wait);
    m_endSeen = state == FrameState::End;
    if (state != FrameState::Complete)
        return false;
    m_stream.next_in = const_cast<Bytef*>(Payload().data());
    m_stream.avail_in = static_cast<uInt>(Payload().size());
    return true;
}

/// When the room was filled to its end, inflate may have more output without further input; asking for it in vain is no
/// error. After a failure inflate is called again, and fails again, before more input is taken.
void BlockedRawDeflateReader::Inflate()
{
    const bool mayBeInVain = m_outputHeldBack && m_stream.avail_in == 0;
    const int result = inflate(&m_stream, Z_SYNC_FLUSH);
    const bool failed = result != Z_OK && !(mayBeInVain && result == Z_BUF_ERROR);
    m_outputHeldBack = failed || m_stream.avail_out == 0;
    if (failed)
        ThrowZlibError(L"inflate() failed", result);
}

namespace
{

constexpr int MemoryLevel = 8;

/// Lends the caller's memory to deflate while it lives.
class InputLoan
{
public:
    InputLoan(z_stream& stream, const Bytef* data, std::size_t size) noexcept
        : m_stream(stream)
    {
        m_stream.next_in = const_cast<Bytef*>(data);
        m_stream.avail_in = static_cast<uInt>(size);
    }
    ~InputLoan()
    {
        m_stream.next_in = nullptr;
        m_stream.avail_in = 0;
    }
    InputLoan(const InputLoan&) = delete;
    InputLoan& operator=(const InputLoan&) = delete;

private:
    z_stream& m_stream;
};

std::size_t CheckedBufferSize(std::size_t size)
{
    if (size < BlockedRawDeflateWriter::MinBufferSize || size > MaxCompressedBlockSize)
        throw std::logic_error("qpr::BlockedRawDeflateWriter::BlockedRawDeflateWriter: invalid bufferSize");
    return size;
}

} // namespace

BlockedRawDeflateWriter::BlockedRawDeflateWriter(std::ostream& output, std::size_t bufferSize, int level)
    : CompressedBlockWriter(output)
    , m_bufferSize(CheckedBufferSize(bufferSize))
    , m_buffer(PayloadRoom(bufferSize))
{
    const int result = deflateInit2(&m_stream, level, Z_DEFLATED, -MAX_WBITS, MemoryLevel, Z_DEFAULT_STRATEGY);
    if (result != Z_OK)
        ThrowZlibError(L"deflateInit2() failed", result);
    StartBuffer();
}

BlockedRawDeflateWriter::~BlockedRawDeflateWriter()
{
    deflateEnd(&m_stream);
}

void BlockedRawDeflateWriter::Write(const void* buffer, std::size_t size)
{
    auto* source = static_cast<const Bytef*>(buffer);
    while (size != 0)
    {
        const std::size_t piece = std::min<std::size_t>(size, std::numeric_limits<uInt>::max());
        const InputLoan input(m_stream, source, piece);
        while (m_stream.avail_in != 0)
        {
            const int result = deflate(&m_stream, Z_NO_FLUSH);
            if (result != Z_OK)
                ThrowZlibError(L"deflate() failed", result);
            if (m_stream.avail_out == 0)
                SendProduced();
        }
        source += piece;
        size -= piece;
    }
}

void BlockedRawDeflateWriter::Flush()
{
    for (;;)
    {
        const int result = deflate(&m_stream, Z_SYNC_FLUSH);
        if (result == Z_BUF_ERROR)
            break;
        if (result != Z_OK)
            ThrowZlibError(L"deflate() failed", result);
        SendProduced();
    }
    FlushOutput();
}

void BlockedRawDeflateWriter::SendProduced()
{
    const std::size_t produced = m_bufferSize - m_stream.avail_out;
    StartBuffer();
    if (produced != 0)
        SendFrame(produced);
}

void BlockedRawDeflateWriter::StartBuffer()
{
    m_stream.next_out = m_buffer;
    m_stream.avail_out = static_cast<uInt>(m_bufferSize);
}

} // namespace qpr
