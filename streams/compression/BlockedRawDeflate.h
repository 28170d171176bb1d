#pragma once

#include "runtime/text/Errors.h"
#include "streams/compression/CompressedBlocks.h"

#include <string>
#include <string_view>
#include <zlib.h>

namespace qpr
{

/// Throws "<text>, zlib result code = <code>".
[[noreturn]] inline void ThrowZlibError(std::wstring_view text, int code)
{
    throw RuntimeError(std::wstring(text) + L", zlib result code = " + std::to_wstring(code));
}

/// Unpacks "BlockedRawDeflate". Throws "inflate() failed" with zlib's result code, also when the deflate stream ends:
/// its writer never finishes it.
class BlockedRawDeflateReader : public CompressedBlockReader
{
public:
    /// Throws "inflateInit2() failed".
    explicit BlockedRawDeflateReader(std::istream& input);
    BlockedRawDeflateReader(const BlockedRawDeflateReader&) = delete;
    BlockedRawDeflateReader& operator=(const BlockedRawDeflateReader&) = delete;
    ~BlockedRawDeflateReader() override;

    /// Waits only for the first byte: once some are there it returns what has arrived.
    std::size_t Read(void* buffer, std::size_t size) override;

    /// Unpacks one byte ahead to be sure: a frame may hold no whole byte.
    bool InputPending() override;

private:
    std::size_t Unpack(std::uint8_t* target, std::size_t size, WaitForData wait);
    bool FetchInput(WaitForData wait);
    void Inflate();

    z_stream m_stream = {};
    bool m_outputHeldBack = false; ///< inflate stopped for lack of room and may have more output without input
    bool m_endSeen = false;
    bool m_hasByteAhead = false;
    std::uint8_t m_byteAhead = 0;
};

/// "BlockedRawDeflate": one raw deflate stream, cut into frames wherever the output buffer is full. Throws "deflate()
/// failed" with zlib's result code.
class BlockedRawDeflateWriter : public CompressedBlockWriter
{
public:
    /// What a connection uses.
    static constexpr std::size_t DefaultBufferSize = 32768;
    static constexpr int DefaultLevel = 1;

    /// What a sync flush adds must fit, or a flush would never end.
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
