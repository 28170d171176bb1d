#include "streams/compression/BlockedQLZ14.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <utility>

namespace qpr
{

std::size_t BlockedQLZ14Reader::Read(void* buffer, std::size_t size)
{
    auto* const target = static_cast<std::uint8_t*>(buffer);
    std::size_t done = TakeUnpacked(target, size);
    while (done < size && FetchFrame(done == 0 ? WaitForData::Yes : WaitForData::OnceArriving))
        done += Unpack(target + done, size - done);
    return done;
}

bool BlockedQLZ14Reader::InputPending()
{
    return m_unpackedRead != m_unpackedSize || FetchFrame(WaitForData::No) || m_endSeen;
}

bool BlockedQLZ14Reader::FetchFrame(WaitForData wait)
{
    if (!m_frameReady && !m_endSeen)
    {
        const FrameState state = ReadFrame(wait);
        m_frameReady = state == FrameState::Complete;
        m_endSeen = state == FrameState::End;
    }
    return m_frameReady;
}

/// Unpacks the frame and delivers what the caller has room for.
std::size_t BlockedQLZ14Reader::Unpack(std::uint8_t* target, std::size_t size)
{
    const auto header = quicklz::ReadHeader(Payload());
    if (header.dataSize <= size)
    {
        m_decompressor.Decompress(header, Payload(), target);
        m_frameReady = false;
        return header.dataSize;
    }
    m_unpacked.GrowTo(header.dataSize);
    m_decompressor.Decompress(header, Payload(), reinterpret_cast<std::uint8_t*>(m_unpacked.Start()));
    m_frameReady = false;
    m_unpackedSize = header.dataSize;
    m_unpackedRead = 0;
    return TakeUnpacked(target, size);
}

std::size_t BlockedQLZ14Reader::TakeUnpacked(std::uint8_t* target, std::size_t size)
{
    const std::size_t taken = std::min(size, m_unpackedSize - m_unpackedRead);
    if (taken != 0)
        std::memcpy(target, m_unpacked.Start() + m_unpackedRead, taken);
    m_unpackedRead += taken;
    return taken;
}

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
