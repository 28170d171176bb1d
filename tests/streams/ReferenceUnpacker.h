#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

/// A second decoder of level-1 packets, slow and close to the words of the format, to check the real one and its
/// writer.
namespace compression_test
{

struct Match
{
    std::size_t position, source, length;
};

class ReferenceUnpacker
{
public:
    /// The data of the packet, or nothing when it is malformed.
    std::optional<std::string> Unpack(std::string_view packet)
    {
        try
        {
            return UnpackOrThrow(packet);
        }
        catch (const std::out_of_range&)
        {
            return std::nullopt;
        }
    }

    const std::vector<Match>& Matches() const { return m_matches; }

private:
    std::string UnpackOrThrow(std::string_view packet)
    {
        *this = {};
        m_in = packet;
        const unsigned flags = Number(1);
        Require((flags & 0xFC) == 0x44);
        const int sizeBytes = (flags & 2) != 0 ? 4 : 1;
        Require(Number(sizeBytes) == packet.size());
        const std::size_t size = Number(sizeBytes);
        Require(size >= 1 && size <= 10485760);
        if ((flags & 1) == 0)
        {
            Require(packet.size() - m_next == size);
            return std::string(packet.substr(m_next));
        }
        while (m_out.size() < size)
            Token(size);
        return m_out;
    }

    void Token(std::size_t size)
    {
        if (m_control == 1)
        {
            m_control = Number(4);
            Require(m_control >> 31 == 1);
        }
        const bool isMatch = (m_control & 1) != 0;
        m_control >>= 1;
        if (isMatch)
            return CopyMatch(size);
        m_starts.push_back(m_out.size());
        m_out += static_cast<char>(Number(1));
    }

    void CopyMatch(std::size_t size)
    {
        const std::size_t position = m_out.size();
        Enter(position, 3);
        const unsigned token = Number(2);
        const std::size_t length = (token & 15) != 0 ? (token & 15) + 2 : Number(1);
        const std::optional<std::size_t> source = m_table.at(token >> 4);
        Require(source.has_value() && length >= 3 && position + length <= size);
        for (std::size_t i = 0; i < length; ++i)
            m_out += m_out.at(*source + i);
        m_starts.push_back(position);
        Enter(position, 0);
        m_matches.push_back({position, *source, length});
    }

    /// Enters the token starts up to distance before the position.
    void Enter(std::size_t position, std::size_t distance)
    {
        for (; m_entered < m_starts.size() && m_starts[m_entered] + distance <= position; ++m_entered)
        {
            const std::size_t start = m_starts[m_entered];
            const unsigned v = Byte(m_out, start) | Byte(m_out, start + 1) << 8 | Byte(m_out, start + 2) << 16;
            m_table[((v >> 12) ^ v) & 0xFFF] = start;
        }
    }

    static void Require(bool condition)
    {
        if (!condition)
            throw std::out_of_range("malformed packet");
    }

    static unsigned Byte(std::string_view bytes, std::size_t i) { return static_cast<unsigned char>(bytes.at(i)); }

    unsigned Number(int bytes)
    {
        unsigned value = 0;
        for (int i = 0; i < bytes; ++i)
            value |= Byte(m_in, m_next++) << 8 * i;
        return value;
    }

    std::string_view m_in;
    std::size_t m_next = 0;
    std::string m_out;
    unsigned m_control = 1;
    std::array<std::optional<std::size_t>, 4096> m_table;
    std::vector<std::size_t> m_starts;
    std::size_t m_entered = 0;
    std::vector<Match> m_matches;
};

} // namespace compression_test
