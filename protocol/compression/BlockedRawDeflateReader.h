#pragma once

#include "protocol/compression/CompressedBlockReader.h"

#include <zlib.h>

namespace qpr
{

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
    std::size_t Unpack(std::uint8_t* target, std::size_t size, Wait wait);
    bool BringInput(Wait wait);
    void Inflate();

    z_stream m_stream = {};
    bool m_outputHeldBack = false; ///< inflate stopped for want of room and may have more without input
    bool m_endSeen = false;
    bool m_hasByteAhead = false;
    std::uint8_t m_byteAhead = 0;
};

} // namespace qpr
