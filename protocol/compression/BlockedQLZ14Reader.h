#pragma once

#include "protocol/compression/CompressedBlockReader.h"
#include "protocol/compression/QuickLzDecompressor.h"

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
    bool BringFrame(Wait wait);
    std::size_t TakeUnpacked(std::uint8_t* target, std::size_t size);
    std::size_t Unpack(std::uint8_t* target, std::size_t size);

    quicklz::Decompressor m_decompressor;
    bool m_frameReady = false; ///< the next frame is there, not yet unpacked
    bool m_endSeen = false;
    MemoryBuffer m_unpacked; ///< a packet that did not fit into the caller's buffer
    std::size_t m_unpackedSize = 0;
    std::size_t m_unpackedRead = 0;
};

} // namespace qpr
