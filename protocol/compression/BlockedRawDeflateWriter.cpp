#include "protocol/compression/BlockedRawDeflateWriter.h"

#include "protocol/compression/ZlibError.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace qpr
{

namespace
{

constexpr int MemoryLevel = 8;

/// The caller's memory is deflate's only while it lives.
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
