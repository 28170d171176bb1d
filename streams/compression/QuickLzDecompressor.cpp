#include "streams/compression/QuickLz.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <string>

// Where both ranges have room to spare, a run of literals (counted in the control word) and the match behind it are
// taken in one step: copies are rounded up to 16 bytes, and bounds are checked once per step. Near the ends every byte
// is checked.

namespace qpr::quicklz
{

namespace
{

constexpr std::uint32_t NeverEntered = 0xFFFFFFFFu;

constexpr std::size_t CopyStep = 16;

/// What one step may touch: a control word, the longest run of literals, a match; copies rounded up.
constexpr std::size_t InputMargin = 4 + 2 * CopyStep + 4;
constexpr std::size_t OutputMargin = 2 * CopyStep + MaxMatch + CopyStep;

inline void CopyPiece(std::uint8_t* to, const std::uint8_t* from)
{
    StoreUnaligned(to, LoadUnaligned<std::uint64_t>(from));
    StoreUnaligned(to + sizeof(std::uint64_t), LoadUnaligned<std::uint64_t>(from + sizeof(std::uint64_t)));
}

/// In one or two moves of 16 bytes: a packet's bytes were not just written, so that no load waits for a store.
inline void CopyLiterals(std::uint8_t* to, const std::uint8_t* from, std::size_t size)
{
    std::memcpy(to, from, CopyStep);
    if (size > CopyStep)
        std::memcpy(to + CopyStep, from + CopyStep, CopyStep);
}

/// In words of 8 bytes, in order: correct for ranges at least that far apart, and fast, since a word that is soon read
/// back comes from one store.
inline void CopyRounded(std::uint8_t* to, const std::uint8_t* from, std::size_t size)
{
    CopyPiece(to, from);
    for (std::size_t done = CopyStep; done < size; done += CopyStep)
        CopyPiece(to + done, from + done);
}

/// Ascending, so that a match may repeat what it produces.
inline void CopyByByte(std::uint8_t* to, const std::uint8_t* from, std::size_t size)
{
    for (std::size_t i = 0; i < size; ++i)
        to[i] = from[i];
}

/// One packet being unpacked. Every position from m_entered up to m_out is that of a literal and not yet in the table.
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

    bool HasRoom() const { return InputLeft() >= InputMargin && m_size - m_out >= OutputMargin; }
    bool IsDone() const { return m_out == m_size; }

    void TakeStep();
    void TakeTokenChecked();

private:
    std::size_t InputLeft() const { return static_cast<std::size_t>(m_inEnd - m_in); }

    void TakeControlWord();
    void TakeMatchChecked();
    std::size_t FindSource(std::uint32_t index, std::size_t length) const;
    void EnterUpTo(std::size_t end);
    void EnterAround(std::size_t match, std::size_t source, std::uint32_t index);

    const std::uint8_t* m_in;
    const std::uint8_t* const m_inEnd;
    std::uint8_t* const m_data;
    const std::size_t m_size;
    std::uint32_t* const m_table;
    std::size_t m_out = 0;
    std::size_t m_entered = 0;
    std::uint32_t m_control = 1;
};

inline void Unpacking::TakeControlWord()
{
    m_control = LoadUnaligned<std::uint32_t>(m_in);
    m_in += sizeof(m_control);
    if ((m_control & ControlMarker) == 0)
        ThrowInvalidData(L"control word without its marker");
}

inline std::size_t Unpacking::FindSource(std::uint32_t index, std::size_t length) const
{
    const std::size_t source = m_table[index];
    if (source >= m_out)
        ThrowInvalidData(L"match refers to no position");
    if (length < MinMatch)
        ThrowInvalidData(L"match of length " + std::to_wstring(length));
    return source;
}

/// Requires: end + 2 is a position of the data. Four bytes are loaded, three count.
inline void Unpacking::EnterUpTo(std::size_t end)
{
    for (; m_entered < end; ++m_entered)
        m_table[TableIndex(LoadUnaligned<std::uint32_t>(m_data + m_entered))] = static_cast<std::uint32_t>(m_entered);
}

/// Enters the match and the two positions before it, as far as they are literals. What is copied stands at the source
/// too, and has the index by which that was found.
inline void Unpacking::EnterAround(std::size_t match, std::size_t source, std::uint32_t index)
{
    if (m_entered != match)
    {
        const std::uint32_t bytes = m_data[match - 1] | LoadUnaligned<std::uint16_t>(m_data + source) << 8;
        if (m_entered + 2 <= match)
            m_table[TableIndex(m_data[match - 2] | bytes << 8)] = static_cast<std::uint32_t>(match - 2);
        m_table[TableIndex(bytes)] = static_cast<std::uint32_t>(match - 1);
    }
    m_table[index] = static_cast<std::uint32_t>(match);
}

/// Requires: HasRoom().
inline void Unpacking::TakeStep()
{
    const int literals = std::countr_zero(m_control);
    CopyLiterals(m_data + m_out, m_in, static_cast<std::size_t>(literals));
    m_in += literals;
    m_out += static_cast<std::size_t>(literals);
    m_control >>= literals;
    if (m_control == 1)
        return TakeControlWord();
    m_control >>= 1;

    if (m_entered + 2 < m_out)
        EnterUpTo(m_out - 2);
    const std::uint32_t token = LoadUnaligned<std::uint16_t>(m_in);
    const std::uint32_t index = token >> 4;
    std::size_t length = (token & 15) + 2;
    m_in += 2;
    if (length == 2)
        length = *m_in++;

    const std::size_t source = FindSource(index, length);
    if (m_out - source >= sizeof(std::uint64_t))
        CopyRounded(m_data + m_out, m_data + source, length);
    else
        CopyByByte(m_data + m_out, m_data + source, length);
    EnterAround(m_out, source, index);
    m_out += length;
    m_entered = m_out;
}

/// One literal or match.
void Unpacking::TakeTokenChecked()
{
    if (m_control == 1)
    {
        if (InputLeft() < sizeof(m_control))
            ThrowInvalidData(L"control word cut off");
        TakeControlWord();
    }
    const bool isMatch = (m_control & 1) != 0;
    m_control >>= 1;
    if (isMatch)
        return TakeMatchChecked();
    if (InputLeft() < 1)
        ThrowInvalidData(L"literal cut off");
    m_data[m_out++] = *m_in++;
}

void Unpacking::TakeMatchChecked()
{
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
    if (m_entered + 2 < m_out)
        EnterUpTo(m_out - 2);
    const std::size_t source = FindSource(token >> 4, length);
    if (length > m_size - m_out)
        ThrowInvalidData(L"match passes the end");
    CopyByByte(m_data + m_out, m_data + source, length);
    EnterAround(m_out, source, token >> 4);
    m_out += length;
    m_entered = m_out;
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
    Unpacking unpacking(content, data, header.dataSize, m_table);
    while (unpacking.HasRoom())
        unpacking.TakeStep();
    while (!unpacking.IsDone())
        unpacking.TakeTokenChecked();
}

} // namespace qpr::quicklz
