#pragma once

#include "runtime/channels/Socket.h"

#include <cstdint>

namespace qxd
{

/// Where one client connects for its call's log: at the address on which it reached the distributor, and from its own
/// computer only.
class LogListener
{
public:
    /// The addresses of the client's connection: this end's and the client's own.
    LogListener(const qpr::SocketAddress& ownAddress, const qpr::SocketAddress& clientAddress);

    std::uint16_t Port() const { return m_listener.GetLocalAddress().Port(); }

    /// Waits for the client's connection; any from elsewhere is closed at once.
    qpr::Socket Accept(const qpr::Wait& wait);

private:
    const qpr::SocketAddress m_clientAddress;
    qpr::Socket m_listener;
};

} // namespace qxd
