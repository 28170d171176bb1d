#include "runtime/Socket.h"

namespace qpr
{

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
