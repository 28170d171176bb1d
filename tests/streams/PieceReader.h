#pragma once

#include "runtime/channels/IReader.h"
#include "runtime/threads/Thread.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

namespace compression_test
{

/// A channel that hands out what has arrived, at most pieceSize bytes at a time, and remembers how much was asked for.
/// A read that would wait for more is interrupted.
class PieceReader : public qpr::IReader
{
public:
    explicit PieceReader(std::string arrived, std::size_t pieceSize = 65536, bool closed = true)
        : m_arrived(std::move(arrived))
        , m_pieceSize(pieceSize)
        , m_closed(closed)
    {
    }

    void Arrive(std::string_view bytes) { m_arrived += bytes; }
    void Close() { m_closed = true; }

    std::size_t Read(void* buffer, std::size_t size) override
    {
        requests.push_back(size);
        if (!InputPending())
            throw qpr::InterruptException();
        const std::size_t taken = std::min({size, m_pieceSize, m_arrived.size() - m_next});
        std::memcpy(buffer, m_arrived.data() + m_next, taken);
        m_next += taken;
        return taken;
    }

    bool InputPending() override { return m_next != m_arrived.size() || m_closed; }

    std::vector<std::size_t> requests;

private:
    std::string m_arrived;
    std::size_t m_next = 0;
    std::size_t m_pieceSize;
    bool m_closed;
};

} // namespace compression_test
