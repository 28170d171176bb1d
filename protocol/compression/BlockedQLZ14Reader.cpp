#include "protocol/compression/BlockedQLZ14Reader.h"

#include <algorithm>
#include <cstring>

namespace qpr
{

std::size_t BlockedQLZ14Reader::Read(void* buffer, std::size_t size)
{
    auto* const target = static_cast<std::uint8_t*>(buffer);
    std::size_t done = TakeUnpacked(target, size);
    while (done < size && BringFrame(done == 0 ? Wait::Yes : Wait::OnceArriving))
        done += Unpack(target + done, size - done);
    return done;
}

bool BlockedQLZ14Reader::InputPending()
{
    return m_unpackedRead != m_unpackedSize || BringFrame(Wait::No) || m_endSeen;
}

bool BlockedQLZ14Reader::BringFrame(Wait wait)
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

} // namespace qpr
