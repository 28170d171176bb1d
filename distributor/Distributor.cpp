#include "distributor/Distributor.h"

#include "distributor/ClientConversation.h"
#include "protocol/GraceTime.h"
#include "runtime/Deadline.h"
#include "runtime/Errors.h"
#include "runtime/Utf8.h"

#include <utility>
#include <vector>

namespace qxd
{
namespace
{

constexpr std::size_t maxClients = 1000;
constexpr std::uint32_t acceptRetryMs = 1000; // after the system had no descriptor left
constexpr std::uint32_t tidyUpMs = 1000; // a session that has ended waits for the next client, or this long
constexpr std::uint32_t greetingTimeMs = 100; // a new connection takes a few lines at once

} // namespace

Distributor::Distributor(const qpr::SocketAddress& address, qxm::HostDescription host, std::uint32_t slots,
    const ServiceCatalogue& catalogue, IServantStarter& starter, CallJournal& journal)
    : m_host(std::move(host))
    , m_greeting(qpr::ToUtf8(m_host.Write()) + "\r\n")
    , m_slots(slots)
    , m_surroundings{m_host, m_clients, catalogue, slots, m_slots, starter, journal}
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
        while (std::optional<qpr::Socket> socket = m_listener.TryAccept(&address))
            Welcome(std::move(*socket), address);
    }
    catch (const qpr::RuntimeError&)
    {
        m_canAccept = false;
    }
}

/// The greeting is not left to the session: the client reads it while the session's thread comes up.
void Distributor::Welcome(qpr::Socket socket, const qpr::SocketAddress& address)
{
    if (m_sessions.Size() >= maxClients)
        m_sessions.RemoveEnded();
    const bool isAccepted = m_sessions.Size() < maxClients;
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
