#include "streams/compression/QuickLz.h"

#include <algorithm>
#include <bit>
#include <cstring>

// One pass over the data. At each position the table gives an earlier one whose first three bytes have the same index;
// when these bytes are equal and the reader's table will hold that position too, a match is written, otherwise a
// literal. Data that does not become smaller is given up early and stored.

namespace qpr::quicklz
{

namespace
{

/// No match starts closer to the end than this, and none reaches into the last TailLiterals: other readers of the
/// format take only literals there.
constexpr std::size_t LastMatchDistance = 11;
constexpr std::size_t TailLiterals = 4;

/// After this much data packing is given up unless it has saved one byte in SavingDivisor.
constexpr std::size_t TrialSize = 8192;
constexpr std::size_t SavingDivisor = 32;

constexpr std::uint32_t LowThreeBytes = 0xFFFFFF;

constexpr std::size_t Word = sizeof(std::uint64_t);

/// How many of the first bytes of two words are equal. Requires: the given bits, in which the words differ, are not 0.
inline std::size_t EqualBytes(std::uint64_t difference)
{
    return static_cast<std::size_t>(std::countr_zero(difference)) / 8;
}

/// How many bytes are the same at a and b, at most limit.
inline std::size_t CountEqual(const std::uint8_t* a, const std::uint8_t* b, std::size_t limit)
{
    std::size_t count = 0;
    for (; count + Word <= limit; count += Word)
    {
        const auto difference = LoadUnaligned<std::uint64_t>(a + count) ^ LoadUnaligned<std::uint64_t>(b + count);
        if (difference != 0)
            return count + EqualBytes(difference);
    }
    while (count < limit && a[count] == b[count])
        ++count;
    return count;
}

/// The tokens of one packet being made. The table holds every token start so far, which the reader enters up to three
/// positions later; entries that were never made are 0, the first position, and told apart by the bytes there.
class Packing
{
public:
    Packing(const std::uint8_t* data, std::size_t size, std::uint8_t* tokens, std::uint32_t* table)
        : m_data(data)
        , m_size(size)
        , m_tokens(tokens)
        , m_table(table)
    {
    }

    /// Returns the size of the tokens, or the size of the data when they would not be smaller.
    std::size_t Run();

private:
    std::size_t TokensSize() const { return static_cast<std::size_t>(m_out - m_tokens); }

    void TakeToken();
    void TakeLiteral(std::uint8_t byte);
    void TakeMatch(std::uint32_t index, std::size_t length);
    std::size_t MatchLength(std::size_t source, std::uint64_t difference) const;
    bool ReaderHasSource(std::size_t source, std::uint32_t bytes) const;
    bool IsHopeless();
    void StoreControlWord();
    void StartControlWord();

    const std::uint8_t* const m_data;
    const std::size_t m_size;
    std::uint8_t* const m_tokens;
    std::uint32_t* const m_table;
    std::uint8_t* m_out = m_tokens;
    std::uint8_t* m_controlPlace = nullptr;
    std::uint32_t m_control = ControlMarker; ///< new bits come in from above; full when the marker has arrived at bit 0
    std::size_t m_position = 0;
    std::size_t m_matchEnd = 0;
    std::size_t m_trialEnd = TrialSize;
};

inline void Packing::StoreControlWord()
{
    StoreUnaligned(m_controlPlace, m_control >> 1 | ControlMarker);
}

inline void Packing::StartControlWord()
{
    m_controlPlace = m_out;
    m_out += sizeof(m_control);
    m_control = ControlMarker;
}

inline bool Packing::IsHopeless()
{
    if (m_position < m_trialEnd)
        return false;
    m_trialEnd = m_size;
    return TokensSize() > m_position - m_position / SavingDivisor;
}

/// Whether the reader's table leads to the same bytes. The reader has not entered the two positions before this one. In
/// a run of one byte the newest entry is the position before; the reader finds an older position of the run instead, if
/// three literals have entered one.
inline bool Packing::ReaderHasSource(std::size_t source, std::uint32_t bytes) const
{
    if (source + MinMatch <= m_position)
        return true;
    return source + 1 == m_position && m_position >= m_matchEnd + 3 && m_position >= 4
        && LoadUnaligned<std::uint32_t>(m_data + m_position - 3) == bytes
        && ((bytes ^ bytes >> 8) & LowThreeBytes) == 0;
}

inline void Packing::TakeLiteral(std::uint8_t byte)
{
    *m_out++ = byte;
    ++m_position;
    m_control >>= 1;
}

inline void Packing::TakeMatch(std::uint32_t index, std::size_t length)
{
    const bool isLong = length >= LongMatchThreshold;
    const std::size_t token = index << 4 | (isLong ? 0 : length - 2) | length << 16;
    StoreUnaligned(m_out, static_cast<std::uint32_t>(token));
    m_out += isLong ? 3 : 2;
    m_position += length;
    m_matchEnd = m_position;
    m_control = m_control >> 1 | ControlMarker;
}

/// Requires: the words here and at the source differ as given, but not in their first three bytes.
inline std::size_t Packing::MatchLength(std::size_t source, std::uint64_t difference) const
{
    const std::size_t limit = std::min(MaxMatch, m_size - TailLiterals - m_position);
    const std::size_t length = difference != 0
        ? EqualBytes(difference)
        : Word + CountEqual(m_data + m_position + Word, m_data + source + Word, std::max(limit, Word) - Word);
    return std::min(length, limit);
}

inline void Packing::TakeToken()
{
    const auto bytes = LoadUnaligned<std::uint64_t>(m_data + m_position);
    const std::uint32_t index = TableIndex(static_cast<std::uint32_t>(bytes));
    const std::size_t source = m_table[index];
    m_table[index] = static_cast<std::uint32_t>(m_position);
    const std::uint64_t difference = LoadUnaligned<std::uint64_t>(m_data + source) ^ bytes;
    if ((difference & LowThreeBytes) == 0 && ReaderHasSource(source, static_cast<std::uint32_t>(bytes)))
        TakeMatch(index, MatchLength(source, difference));
    else
        TakeLiteral(static_cast<std::uint8_t>(bytes));
}

std::size_t Packing::Run()
{
    StartControlWord();
    while (m_position + LastMatchDistance <= m_size)
    {
        if ((m_control & 1) != 0)
        {
            StoreControlWord();
            if (IsHopeless())
                return m_size;
            StartControlWord();
        }
        TakeToken();
    }
    while (m_position < m_size)
    {
        if ((m_control & 1) != 0)
        {
            StoreControlWord();
            StartControlWord();
        }
        TakeLiteral(m_data[m_position]);
    }
    while ((m_control & 1) == 0)
        m_control >>= 1;
    StoreControlWord();
    return std::min(TokensSize(), m_size);
}

} // namespace

std::size_t Compressor::Compress(const std::uint8_t* data, std::size_t size, std::uint8_t* packet)
{
    const std::size_t headerSize = HeaderSizeFor(size);
    std::fill(std::begin(m_table), std::end(m_table), 0u);
    const std::size_t contentSize = Packing(data, size, packet + headerSize, m_table).Run();
    const bool compressed = contentSize < size;
    if (!compressed)
        std::memcpy(packet + headerSize, data, size);
    WriteHeader({compressed, headerSize, headerSize + contentSize, size}, packet);
    return headerSize + contentSize;
}

} // namespace qpr::quicklz
