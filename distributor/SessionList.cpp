#include "distributor/SessionList.h"

#include <utility>

namespace qxd
{

SessionList::SessionList(const SessionSurroundings& surroundings)
    : m_surroundings(surroundings)
{
}

void SessionList::Start(qpr::Socket socket, const qpr::SocketAddress& address)
{
    auto session = std::make_unique<ClientSession>(
        std::move(socket), address, m_surroundings, [this](ClientSession& ended) { OnEnd(ended); });
    m_sessions.emplace(session.get(), std::move(session));
}

void SessionList::RemoveEnded()
{
    std::vector<ClientSession*> ended;
    {
        const qpr::ScopedLock lock(m_lock);
        ended.swap(m_ended);
    }
    for (ClientSession* session : ended)
        m_sessions.erase(session);
}

void SessionList::GiveUpReceptions()
{
    for (const auto& [key, session] : m_sessions)
        session->GiveUpReception();
}

void SessionList::OnEnd(ClientSession& session)
{
    const qpr::ScopedLock lock(m_lock);
    m_ended.push_back(&session);
    m_someEnded.Signal();
}

} // namespace qxd
