#include "protocol/compression/QuickLzCompressor.h"

#include "protocol/compression/UnalignedAccess.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace qpr::quicklz
{

namespace
{

/// No match starts within so many bytes of the end, and none reaches into the last TailLiterals.
constexpr std::size_t LastMatchDistance = 11;
constexpr std::size_t TailLiterals = 4;

/// Packing is given up when, after so many bytes, it has not saved at least one in 32.
constexpr std::size_t TrialSize = 8192;

std::size_t MatchLength(const std::uint8_t* a, const std::uint8_t* b, std::size_t limit)
{
    std::size_t length = 0;
    while (length + 8 <= limit)
    {
        const std::uint64_t difference =
            LoadUnaligned<std::uint64_t>(a + length) ^ LoadUnaligned<std::uint64_t>(b + length);
        if (difference != 0)
            return length + static_cast<std::size_t>(std::countr_zero(difference)) / 8;
        length += 8;
    }
    while (length < limit && a[length] == b[length])
        ++length;
    return length;
}

std::size_t Pack(const std::uint8_t* data, std::size_t size, std::uint8_t* const start, std::uint32_t* table)
{
    std::uint8_t* out = start + 4;
    std::uint8_t* controlPlace = start;
    std::uint32_t control = ControlMarker;
    std::size_t p = 0;
    const std::size_t matchEnd = size - TailLiterals;
    const std::size_t lastStart = size - LastMatchDistance;
    std::size_t literalsFrom = 0;
    std::size_t trial = TrialSize;
    while (p <= lastStart)
    {
        if (control & 1)
        {
            StoreUnaligned(controlPlace, (control >> 1) | ControlMarker);
            control = ControlMarker;
            controlPlace = out;
            out += 4;
            if (p >= trial)
            {
                if (static_cast<std::size_t>(out - start) > p - (p >> 5))
                    return size;
                trial = size;
            }
        }
        const std::uint32_t v = LoadUnaligned<std::uint32_t>(data + p);
        std::uint32_t& entry = table[TableIndex(v)];
        const std::size_t source = entry;
        entry = static_cast<std::uint32_t>(p);
        if (((LoadUnaligned<std::uint32_t>(data + source) ^ v) & 0xFFFFFF) == 0)
        {
            const bool run = source + 1 == p && p >= literalsFrom + 3 && p >= 4
                && LoadUnaligned<std::uint32_t>(data + p - 3) == v && ((v ^ (v >> 8)) & 0xFFFFFF) == 0;
            if (source + 3 <= p || run)
            {
                const std::size_t length =
                    3 + MatchLength(data + p + 3, data + source + 3, std::min(MaxMatch, matchEnd - p) - 3);
                const std::uint32_t index = TableIndex(v);
                if (length < LongMatchThreshold)
                {
                    StoreUnaligned(out, static_cast<std::uint16_t>(index << 4 | (length - 2)));
                    out += 2;
                }
                else
                {
                    StoreUnaligned(out, static_cast<std::uint16_t>(index << 4));
                    out[2] = static_cast<std::uint8_t>(length);
                    out += 3;
                }
                p += length;
                literalsFrom = p;
                control = control >> 1 | ControlMarker;
                continue;
            }
        }
        *out++ = data[p++];
        control >>= 1;
    }
    for (; p < size; ++p)
    {
        if (control & 1)
        {
            StoreUnaligned(controlPlace, (control >> 1) | ControlMarker);
            control = ControlMarker;
            controlPlace = out;
            out += 4;
        }
        *out++ = data[p];
        control >>= 1;
    }
    while ((control & 1) == 0)
        control >>= 1;
    StoreUnaligned(controlPlace, (control >> 1) | ControlMarker);
    return static_cast<std::size_t>(out - start);
}

} // namespace

std::size_t Compressor::Compress(const std::uint8_t* data, std::size_t size, std::uint8_t* packet)
{
    PacketHeader header{false, HeaderSizeFor(size), 0, size};
    std::size_t content = size;
    if (size > LastMatchDistance)
    {
        std::fill(std::begin(m_table), std::end(m_table), 0u);
        content = Pack(data, size, packet + header.headerSize, m_table);
    }
    header.compressed = content < size;
    if (!header.compressed)
    {
        std::memcpy(packet + header.headerSize, data, size);
        content = size;
    }
    header.packetSize = header.headerSize + content;
    WriteHeader(header, packet);
    return header.packetSize;
}

} // namespace qpr::quicklz
