#include "distributor/Distributor.h"

#include "distributor/ClientConversation.h"
#include "protocol/DistributorRequest.h"
#include "protocol/GraceTime.h"
#include "runtime/text/Errors.h"
#include "runtime/text/Utf8.h"
#include "runtime/threads/Deadline.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace qxd
{
namespace
{

constexpr int maxAcceptsPerTurn = 64; // between two looks for the stop
constexpr std::uint32_t acceptRetryMs = 1000; // after the system ran out of descriptors
constexpr std::uint32_t tidyUpMs = 1000; // an ended session is removed with the next client, or after this time
constexpr std::uint32_t greetingTimeMs =
    5000; // a new connection takes a few lines at once, unless the computer is busy

// What a client holds. A running one has two connections, the servant's process, its pipes and its threads' events.
constexpr std::size_t descriptorsOfWaiting = 3;
constexpr std::size_t descriptorsOfRunning = 13;
constexpr std::size_t descriptorsOfProgram = 32;
constexpr std::size_t mostClients = 4096; // each has a thread

std::string GreetingOf(qxm::HostDescription host)
{
    host.identifier += std::wstring(L"/") + qxm::servantEndExtension;
    return qpr::ToUtf8(host.Write()) + "\r\n";
}

} // namespace

std::uint32_t Capacity::MaxSlots(std::size_t descriptors) noexcept
{
    constexpr std::size_t reserved = descriptorsOfProgram + 16 * descriptorsOfWaiting;
    const std::size_t slots = (std::max(descriptors, reserved) - reserved) / descriptorsOfRunning;
    return static_cast<std::uint32_t>(std::clamp<std::size_t>(slots, 1, 65536));
}

Capacity Capacity::Of(std::uint32_t slots, std::size_t descriptors) noexcept
{
    const std::size_t running = descriptorsOfProgram + slots * descriptorsOfRunning;
    const std::size_t waiting = (std::max(descriptors, running) - running) / descriptorsOfWaiting;
    return {slots, slots + std::clamp<std::size_t>(waiting, 16, mostClients)};
}

Distributor::Distributor(const qpr::SocketAddress& address, qxm::HostDescription host, const Capacity& capacity,
    const qxm::ServicesMap& services, IServantStarter& starter, CallJournal& journal)
    : m_host(std::move(host))
    , m_maxClients(capacity.clients)
    , m_greeting(GreetingOf(m_host))
    , m_slots(capacity.slots)
    , m_surroundings{m_host, services, capacity.slots, m_slots, starter, journal}
    , m_listener(qpr::Socket::Listen(address))
    , m_sessions(m_surroundings)
{
}

void Distributor::Run(const qpr::WaitObject& stop)
{
    for (;;)
    {
        std::vector<qpr::WaitObject> objects = {stop};
        if (m_canAccept)
            objects.push_back(m_listener.InputObject());
        const int signalled = qpr::Thread::TryWaitForAnyObject(objects, L"qxd::Distributor::Run", TimeoutMs());
        if (signalled == 0)
            return WindDown();
        m_canAccept = true;
        if (signalled == 1)
            AcceptClients();
        m_sessions.RemoveEnded();
    }
}

std::uint32_t Distributor::TimeoutMs() const noexcept
{
    if (!m_canAccept)
        return acceptRetryMs;
    return m_sessions.Size() != 0 ? tidyUpMs : qpr::Infinite;
}

void Distributor::AcceptClients()
{
    try
    {
        qpr::SocketAddress address;
        for (int count = 0; count < maxAcceptsPerTurn; ++count)
        {
            std::optional<qpr::Socket> socket = m_listener.TryAccept(&address);
            if (!socket)
                return;
            Welcome(std::move(*socket), address);
        }
    }
    catch (const qpr::RuntimeError&) // no descriptor is left
    {
        m_canAccept = m_sessions.DropOldestReception();
    }
}

bool Distributor::MakeRoomForClient()
{
    if (m_sessions.Size() >= m_maxClients)
        m_sessions.RemoveEnded();
    return m_sessions.Size() < m_maxClients || m_sessions.DropOldestReception();
}

/// The greeting is not left to the session: the client reads it while the session's thread comes up.
void Distributor::Welcome(qpr::Socket socket, const qpr::SocketAddress& address)
{
    const bool isAccepted = MakeRoomForClient();
    const std::string lines = m_greeting + (isAccepted ? "$ " : "! Too many clients\r\n");
    try
    {
        socket.SendWithoutDelay();
        qpr::SocketWriter(socket, Within(greetingTimeMs)).Write(lines.data(), lines.size());
        if (isAccepted)
            m_sessions.Start(std::move(socket), address);
    }
    catch (const qpr::RuntimeError&) // the client has gone again, or there is no thread to be had for it
    {
    }
}

void Distributor::WindDown()
{
    m_listener.Close();
    m_slots.Close();
    m_sessions.GiveUpReceptions();
    const qpr::Deadline deadline(qxm::graceTimeMs);
    for (m_sessions.RemoveEnded(); m_sessions.Size() != 0 && !deadline.HasPassed(); m_sessions.RemoveEnded())
        qpr::Thread::TryWaitForObject(m_sessions.EndedObject(), L"qxd::Distributor::WindDown", deadline.LeftMs());
    m_sessions.EndAll();
}

} // namespace qxd
