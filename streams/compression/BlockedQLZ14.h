#pragma once

#include "streams/compression/CompressedBlocks.h"
#include "streams/compression/QuickLz.h"

namespace qpr
{

/// Unpacks "BlockedQLZ14".
class BlockedQLZ14Reader : public CompressedBlockReader
{
public:
    explicit BlockedQLZ14Reader(std::istream& input)
        : CompressedBlockReader(input)
    {
    }

    /// Waits only for the first byte: once some are there it returns what has arrived. A packet that fits is unpacked
    /// straight into the buffer.
    std::size_t Read(void* buffer, std::size_t size) override;

    bool InputPending() override;

private:
    bool FetchFrame(WaitForData wait);
    std::size_t TakeUnpacked(std::uint8_t* target, std::size_t size);
    std::size_t Unpack(std::uint8_t* target, std::size_t size);

    quicklz::Decompressor m_decompressor;
    bool m_frameReady = false; ///< the next frame is there, not yet unpacked
    bool m_endSeen = false;
    MemoryBuffer m_unpacked; ///< a packet that did not fit into the caller's buffer
    std::size_t m_unpackedSize = 0;
    std::size_t m_unpackedRead = 0;
};

/// "BlockedQLZ14": frames of one level-1 packet each, of up to blockSize bytes of data.
class BlockedQLZ14Writer : public CompressedBlockWriter
{
public:
    /// What a connection uses.
    static constexpr std::size_t DefaultBlockSize = 65536;

    /// Requires: 1 to MaxCompressedBlockSize; throws std::logic_error otherwise.
    explicit BlockedQLZ14Writer(std::ostream& output, std::size_t blockSize = DefaultBlockSize);

    /// Sends only blocks that have become full.
    void Write(const void* buffer, std::size_t size) override;

    /// Sends what is pending, if anything, and flushes the byte stream.
    void Flush() override;

private:
    std::size_t Collect(const std::uint8_t* source, std::size_t size);
    void SendPending();
    void SendBlock(const std::uint8_t* data, std::size_t size);

    const std::size_t m_blockSize;
    MemoryBuffer m_block; ///< allocated when first needed
    std::size_t m_pending = 0;
    quicklz::Compressor m_compressor;
};

} // namespace qpr
