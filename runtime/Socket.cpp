#include "runtime/Socket.h"

#include "runtime/Errors.h"

#include <utility>

namespace qpr
{

void Socket::Shutdown(Direction direction)
{
    if (!TryShutdown(direction))
        ThrowSocketError(L"shutdown() failed", L"qpr::Socket::Shutdown");
}

bool Socket::HasInputEnded() const
{
    char byte = 0;
    return TryPeek(&byte, 1) == std::optional<std::size_t>(0);
}

SocketReader::SocketReader(Socket& socket, Wait wait)
    : m_socket(socket)
    , m_wait(std::move(wait))
{
}

SocketWriter::SocketWriter(Socket& socket, Wait wait)
    : m_socket(socket)
    , m_wait(std::move(wait))
{
}

} // namespace qpr
