#include "streams/SocketStreams.h"

#include "streams/ByteStreams.h"

namespace qpr
{

void PeekingInputStreamBuffer::Settle()
{
    SocketReader reader(m_socket, m_wait);
    const auto read = static_cast<std::size_t>(gptr() - eback());
    for (std::size_t taken = 0; taken < read;)
        taken += reader.Read(m_bytes.data(), read - taken);
    setg(nullptr, nullptr, nullptr);
}

PeekingInputStreamBuffer::int_type PeekingInputStreamBuffer::underflow()
{
    Settle();
    for (;;)
    {
        m_wait.Check();
        if (const std::optional<std::size_t> size = m_socket.TryPeek(m_bytes.data(), m_bytes.size()))
        {
            setg(m_bytes.data(), m_bytes.data(), m_bytes.data() + *size);
            return *size == 0 ? traits_type::eof() : traits_type::to_int_type(*gptr());
        }
        m_socket.WaitForInput(m_wait);
    }
}

PeekingInputStream::PeekingInputStream(Socket& socket, Wait wait)
    : std::istream(nullptr)
    , m_buffer(socket, std::move(wait))
{
    AttachStreamBuffer<char>(*this, m_buffer);
}

} // namespace qpr
