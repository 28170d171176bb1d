#pragma once

#include "config/HostDescription.h"
#include "distributor/SessionList.h"
#include "distributor/SlotQueue.h"
#include "runtime/channels/Socket.h"

#include <cstdint>
#include <string>

namespace qxd
{

/// How much a distributor takes on.
struct Capacity
{
    std::uint32_t slots;
    std::size_t clients = 1000; ///< when so many are there, the oldest without an accepted request is dropped

    /// The most slots that this process may serve with so many descriptors, and the clients beside some slots.
    static std::uint32_t MaxSlots(std::size_t descriptors) noexcept;
    static Capacity Of(std::uint32_t slots, std::size_t descriptors) noexcept;
};

/// Accepts clients and serves each in a session of its own. The protocol has no authentication: whoever can connect can
/// run the configured services.
class Distributor
{
public:
    /// Listens from here on. The services, the starter and the journal are not owned and outlive the distributor.
    Distributor(const qpr::SocketAddress& address, qxm::HostDescription host, const Capacity& capacity,
        const qxm::ServicesMap& services, IServantStarter& starter, CallJournal& journal);

    qpr::SocketAddress Address() const { return m_listener.GetLocalAddress(); }

    /// Serves until the object is signalled, then takes no more clients, gives running calls a grace time to end and
    /// ends the rest.
    void Run(const qpr::WaitObject& stop);

private:
    std::uint32_t TimeoutMs() const noexcept;
    void AcceptClients();
    bool MakeRoomForClient();
    void Welcome(qpr::Socket socket, const qpr::SocketAddress& address);
    void WindDown();

    const qxm::HostDescription m_host;
    const std::size_t m_maxClients;
    const std::string m_greeting; ///< the description as a line, with the extensions offered
    SlotQueue m_slots;
    const SessionSurroundings m_surroundings;
    qpr::Socket m_listener;
    bool m_canAccept = true;
    SessionList m_sessions;
};

} // namespace qxd
