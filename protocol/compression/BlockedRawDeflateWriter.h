#pragma once

#include "protocol/compression/CompressedBlockWriter.h"

#include <zlib.h>

namespace qpr
{

/// "BlockedRawDeflate": one raw deflate stream, cut into frames wherever the output buffer is full. Throws "deflate()
/// failed" with zlib's result code.
class BlockedRawDeflateWriter : public CompressedBlockWriter
{
public:
    /// What a connection uses.
    static constexpr std::size_t DefaultBufferSize = 32768;
    static constexpr int DefaultLevel = 1;

    /// What a sync flush adds has to fit, or a flush would not end.
    static constexpr std::size_t MinBufferSize = 7;

    /// Throws "deflateInit2() failed". Requires: MinBufferSize to MaxCompressedBlockSize; throws std::logic_error
    /// otherwise.
    explicit BlockedRawDeflateWriter(
        std::ostream& output, std::size_t bufferSize = DefaultBufferSize, int level = DefaultLevel);
    BlockedRawDeflateWriter(const BlockedRawDeflateWriter&) = delete;
    BlockedRawDeflateWriter& operator=(const BlockedRawDeflateWriter&) = delete;
    ~BlockedRawDeflateWriter() override;

    /// Sends only buffers that have become full.
    void Write(const void* buffer, std::size_t size) override;

    /// Sends everything written so far, so that the reader can unpack all of it, and flushes the byte stream.
    void Flush() override;

private:
    void SendProduced();
    void StartBuffer();

    z_stream m_stream = {};
    const std::size_t m_bufferSize;
    std::uint8_t* const m_buffer;
};

} // namespace qpr
