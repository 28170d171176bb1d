#include "protocol/compression/QuickLzDecompressor.h"

#include "protocol/compression/UnalignedAccess.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string>

// Literals come in runs, counted in the control word and copied whole. Where both ranges have room for the longest run
// and match, copies are rounded up to 16 bytes without further checks; near the ends every byte is checked.

namespace qpr::quicklz
{

namespace
{

constexpr std::uint32_t NeverEntered = 0xFFFFFFFFu;
constexpr std::size_t CopyStep = 16;
constexpr std::size_t MaxLiteralRun = 31;

/// What a run of literals and a match may touch beyond their start, rounded copies included.
constexpr std::size_t InputMargin = sizeof(std::uint32_t) + 2 * CopyStep + 2 * sizeof(std::uint64_t);
constexpr std::size_t OutputMargin = 2 * CopyStep + MaxMatch + CopyStep;

class Unpacking
{
public:
    Unpacking(std::span<const std::uint8_t> tokens, std::uint8_t* data, std::size_t size, std::uint32_t* table)
        : m_in(tokens.data())
        , m_inEnd(tokens.data() + tokens.size())
        , m_data(data)
        , m_size(size)
        , m_table(table)
    {
    }

    void Run()
    {
        RunWithRoom();
        while (m_position < m_size)
            UnpackToken();
    }

private:
    std::size_t InputLeft() const { return static_cast<std::size_t>(m_inEnd - m_in); }

    void RunWithRoom();
    void UnpackToken();
    void TakeControlWord();
    void CopyMatch(std::size_t index, std::size_t length);
    void EnterUpTo(std::size_t end);

    const std::uint8_t* m_in;
    const std::uint8_t* const m_inEnd;
    std::uint8_t* const m_data;
    const std::size_t m_size;
    std::uint32_t* const m_table;
    std::size_t m_position = 0; ///< bytes produced
    std::size_t m_entered = 0; ///< from here on, every position so far is a literal's, not yet in the table
    std::uint32_t m_control = 1;
};

inline void CopyRounded(std::uint8_t* to, const std::uint8_t* from, std::size_t size)
{
    std::size_t done = 0;
    do
    {
        std::memcpy(to + done, from + done, CopyStep);
        done += CopyStep;
    } while (done < size);
}

inline void Unpacking::TakeControlWord()
{
    m_control = LoadUnaligned<std::uint32_t>(m_in);
    m_in += sizeof(std::uint32_t);
    if ((m_control & ControlMarker) == 0)
        ThrowInvalidData(L"control word without its marker");
}

inline void Unpacking::EnterUpTo(std::size_t end)
{
    for (; m_entered < end; ++m_entered)
    {
        const std::uint8_t* const at = m_data + m_entered;
        m_table[TableIndex(at[0] | at[1] << 8 | at[2] << 16)] = static_cast<std::uint32_t>(m_entered);
    }
}

void Unpacking::RunWithRoom()
{
    const std::uint8_t* in = m_in;
    const std::uint8_t* const inEnd = m_inEnd;
    std::uint8_t* const data = m_data;
    std::size_t p = m_position;
    std::size_t entered = m_entered;
    std::uint32_t control = m_control;
    std::uint32_t* const table = m_table;
    const auto enter = [=](std::size_t i)
    { table[TableIndex(LoadUnaligned<std::uint32_t>(data + i))] = static_cast<std::uint32_t>(i); };
    const std::size_t room = m_size;
    while (static_cast<std::size_t>(inEnd - in) >= InputMargin && room - p >= OutputMargin)
    {
        if (control == 1)
        {
            control = LoadUnaligned<std::uint32_t>(in);
            in += 4;
            if ((control & ControlMarker) == 0)
                ThrowInvalidData(L"control word without its marker");
        }
        const std::size_t literals = static_cast<std::size_t>(std::countr_zero(control));
        CopyRounded(data + p, in, literals);
        in += literals;
        p += literals;
        control >>= literals;
        if (control == 1)
            continue;
        control >>= 1;

        for (; entered + 2 < p; ++entered)
            enter(entered);
        const std::uint32_t token = LoadUnaligned<std::uint16_t>(in);
        const std::uint32_t index = token >> 4;
        const std::size_t code = token & 15;
        const std::size_t length = code != 0 ? code + 2 : in[2];
        in += code != 0 ? 2 : 3;

        const std::size_t source = table[index];
        if (source >= p)
            ThrowInvalidData(L"match refers to no position");
        if (length < MinMatch)
            ThrowInvalidData(L"match of length " + std::to_wstring(length));
        std::uint8_t* const to = data + p;
        const std::uint8_t* const from = data + source;
        if (p - source >= CopyStep)
            CopyRounded(to, from, length);
        else
            for (std::size_t i = 0; i < length; ++i)
                to[i] = from[i];
        for (; entered <= p; ++entered)
            enter(entered);
        p += length;
        entered = p;
    }
    m_in = in;
    m_position = p;
    m_entered = entered;
    m_control = control;
}

/// One literal or match, with every byte checked.
void Unpacking::UnpackToken()
{
    if (m_control == 1)
    {
        if (InputLeft() < sizeof(std::uint32_t))
            ThrowInvalidData(L"control word cut off");
        TakeControlWord();
    }
    const bool isMatch = (m_control & 1) != 0;
    m_control >>= 1;
    if (!isMatch)
    {
        if (InputLeft() < 1)
            ThrowInvalidData(L"literal cut off");
        m_data[m_position++] = *m_in++;
        return;
    }
    if (InputLeft() < 2)
        ThrowInvalidData(L"match cut off");
    const std::uint32_t token = LoadUnaligned<std::uint16_t>(m_in);
    m_in += 2;
    std::size_t length = (token & 15) + 2;
    if (length == 2)
    {
        if (InputLeft() < 1)
            ThrowInvalidData(L"match cut off");
        length = *m_in++;
    }
    CopyMatch(token >> 4, length);
}

void Unpacking::CopyMatch(std::size_t index, std::size_t length)
{
    if (m_position > 2)
        EnterUpTo(m_position - 2);
    const std::size_t source = m_table[index];
    if (source >= m_position)
        ThrowInvalidData(L"match refers to no position");
    if (length < MinMatch)
        ThrowInvalidData(L"match of length " + std::to_wstring(length));
    if (length > m_size - m_position)
        ThrowInvalidData(L"match passes the end");
    for (std::size_t i = 0; i < length; ++i)
        m_data[m_position + i] = m_data[source + i];
    EnterUpTo(m_position + 1);
    m_position += length;
    m_entered = m_position;
}

} // namespace

void Decompressor::Decompress(const PacketHeader& header, std::span<const std::uint8_t> packet, std::uint8_t* data)
{
    const auto content = packet.subspan(header.headerSize);
    if (!header.compressed)
    {
        if (content.size() != header.dataSize)
            ThrowInvalidData(
                L"stored size " + std::to_wstring(content.size()) + L" instead of " + std::to_wstring(header.dataSize));
        std::copy(content.begin(), content.end(), data);
        return;
    }
    std::fill(std::begin(m_table), std::end(m_table), NeverEntered);
    Unpacking(content, data, header.dataSize, m_table).Run();
}

} // namespace qpr::quicklz
