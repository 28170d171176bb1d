#include "runtime/Socket.h"

#include "runtime/Errors.h"

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

SocketReader::SocketReader(Socket& socket, const Cancellation* cancellation)
    : m_socket(socket)
    , m_cancellableWaiter(cancellation)
    , m_waiter(m_cancellableWaiter)
{
}

SocketReader::SocketReader(Socket& socket, const IWaiter& waiter)
    : m_socket(socket)
    , m_waiter(waiter)
{
}

SocketWriter::SocketWriter(Socket& socket, const Cancellation* cancellation)
    : m_socket(socket)
    , m_cancellableWaiter(cancellation)
    , m_waiter(m_cancellableWaiter)
{
}

SocketWriter::SocketWriter(Socket& socket, const IWaiter& waiter)
    : m_socket(socket)
    , m_waiter(waiter)
{
}

} // namespace qpr
