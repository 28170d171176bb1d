#pragma once

#include "protocol/compression/CompressedBlockWriter.h"
#include "protocol/compression/QuickLzCompressor.h"

namespace qpr
{

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
