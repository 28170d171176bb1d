#include "protocol/PeekingReader.h"

#include <algorithm>
#include <cstring>

namespace qpr
{

std::size_t PeekingReader::Read(void* buffer, std::size_t size)
{
    m_waiter.Check();
    if (m_read == m_size)
    {
        Settle();
        Peek();
    }
    const std::size_t count = std::min(size, m_size - m_read);
    std::memcpy(buffer, m_bytes.data() + m_read, count);
    m_read += count;
    return count;
}

bool PeekingReader::InputPending()
{
    m_waiter.Check();
    if (m_read != m_size)
        return true;
    Settle();
    return m_socket.TryPeek(m_bytes.data(), 1).has_value();
}

void PeekingReader::Settle()
{
    SocketReader reader(m_socket, m_waiter);
    for (std::size_t taken = 0; taken < m_read;)
        taken += reader.Read(m_bytes.data(), m_read - taken);
    m_size = 0;
    m_read = 0;
}

void PeekingReader::Peek()
{
    for (;;)
    {
        if (const std::optional<std::size_t> size = m_socket.TryPeek(m_bytes.data(), m_bytes.size()))
        {
            m_size = *size;
            return;
        }
        m_socket.WaitForInput(m_waiter);
    }
}

} // namespace qpr
