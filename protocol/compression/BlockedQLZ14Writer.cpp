#include "protocol/compression/BlockedQLZ14Writer.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace qpr
{

BlockedQLZ14Writer::BlockedQLZ14Writer(std::ostream& output, std::size_t blockSize)
    : CompressedBlockWriter(output)
    , m_blockSize(blockSize)
{
    if (blockSize < 1 || blockSize > MaxCompressedBlockSize)
        throw std::logic_error("qpr::BlockedQLZ14Writer::BlockedQLZ14Writer: invalid blockSize");
}

void BlockedQLZ14Writer::Write(const void* buffer, std::size_t size)
{
    auto* source = static_cast<const std::uint8_t*>(buffer);
    while (size != 0)
    {
        std::size_t taken = m_blockSize;
        if (m_pending == 0 && size >= m_blockSize)
            SendBlock(source, m_blockSize);
        else
            taken = Collect(source, size);
        source += taken;
        size -= taken;
    }
}

void BlockedQLZ14Writer::Flush()
{
    SendPending();
    FlushOutput();
}

std::size_t BlockedQLZ14Writer::Collect(const std::uint8_t* source, std::size_t size)
{
    m_block.GrowTo(m_blockSize);
    const std::size_t taken = std::min(size, m_blockSize - m_pending);
    std::memcpy(m_block.Start() + m_pending, source, taken);
    m_pending += taken;
    if (m_pending == m_blockSize)
        SendPending();
    return taken;
}

void BlockedQLZ14Writer::SendPending()
{
    const std::size_t size = std::exchange(m_pending, 0);
    if (size != 0)
        SendBlock(reinterpret_cast<const std::uint8_t*>(m_block.Start()), size);
}

void BlockedQLZ14Writer::SendBlock(const std::uint8_t* data, std::size_t size)
{
    SendFrame(m_compressor.Compress(data, size, PayloadRoom(quicklz::Compressor::PacketRoom(size))));
}

} // namespace qpr
