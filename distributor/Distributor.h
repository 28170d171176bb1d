#pragma once

#include "config/HostDescription.h"
#include "distributor/SessionList.h"
#include "distributor/SessionSurroundings.h"
#include "distributor/SlotQueue.h"
#include "runtime/Socket.h"

#include <cstdint>
#include <string>

namespace qxd
{

/// Accepts clients and serves each in a session of its own. The protocol has no authentication: whoever can connect can
/// run the configured services.
class Distributor
{
public:
    /// Listens from here on. The catalogue, the starter and the journal are not owned and outlive the distributor.
    Distributor(const qpr::SocketAddress& address, qxm::HostDescription host, std::uint32_t slots,
        const ServiceCatalogue& catalogue, IServantStarter& starter, CallJournal& journal);

    qpr::SocketAddress Address() const { return m_listener.GetLocalAddress(); }

    /// Serves until the object is signalled, then takes no more clients, gives running calls a grace time to end and
    /// ends the rest.
    void Run(const qpr::WaitObject& stop);

private:
    std::uint32_t TimeoutMs() const noexcept;
    void AcceptClients();
    void Welcome(qpr::Socket socket, const qpr::SocketAddress& address);
    void WindDown();

    const qxm::HostDescription m_host;
    const std::string m_greeting; ///< the description as a line
    qxm::HostDescriptionMemo m_clients{L"client"};
    SlotQueue m_slots;
    const SessionSurroundings m_surroundings;
    qpr::Socket m_listener;
    bool m_canAccept = true;
    SessionList m_sessions;
};

} // namespace qxd
