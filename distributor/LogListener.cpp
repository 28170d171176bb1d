#include "distributor/LogListener.h"

namespace qxd
{
namespace
{

constexpr int backlog = 4; // strangers must not keep the client out

qpr::SocketAddress AnyPortOf(const qpr::SocketAddress& address)
{
    return qpr::SocketAddress(address.GetFamily(), address.Bytes(), 0);
}

} // namespace

LogListener::LogListener(const qpr::SocketAddress& ownAddress, const qpr::SocketAddress& clientAddress)
    : m_clientAddress(clientAddress)
    , m_listener(qpr::Socket::Listen(AnyPortOf(ownAddress), backlog))
{
}

qpr::Socket LogListener::Accept(const qpr::Wait& wait)
{
    for (;;)
    {
        m_listener.WaitForInput(wait); // which is over in time, however many strangers connect
        qpr::SocketAddress remoteAddress;
        std::optional<qpr::Socket> socket = m_listener.TryAccept(&remoteAddress);
        if (socket && remoteAddress.IsSameHost(m_clientAddress))
            return std::move(*socket);
    }
}

} // namespace qxd
