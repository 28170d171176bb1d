#include "distributor/SessionList.h"

#include <algorithm>
#include <utility>

namespace qxd
{

SessionList::SessionList(const SessionSurroundings& surroundings)
    : m_surroundings(surroundings)
{
}

void SessionList::Start(qpr::Socket socket, const qpr::SocketAddress& address)
{
    m_sessions.push_back(std::make_unique<ClientSession>(
        std::move(socket), address, m_surroundings, [this](ClientSession& ended) { OnEnd(ended); }));
}

void SessionList::RemoveEnded()
{
    std::set<ClientSession*> ended;
    {
        const qpr::ScopedLock lock(m_lock);
        ended.swap(m_ended);
    }
    std::erase_if(m_sessions, [&](const auto& session) { return ended.contains(session.get()); });
}

void SessionList::GiveUpReceptions()
{
    for (const auto& session : m_sessions)
        session->GiveUpReception();
}

bool SessionList::DropOldestReception()
{
    const auto oldest =
        std::ranges::find_if(m_sessions, [](const auto& session) { return session->GiveUpReception(); });
    if (oldest == m_sessions.end())
        return false;
    ClientSession* const dropped = oldest->get();
    m_sessions.erase(oldest); // which waits for its end
    const qpr::ScopedLock lock(m_lock);
    m_ended.erase(dropped);
    return true;
}

void SessionList::OnEnd(ClientSession& session)
{
    const qpr::ScopedLock lock(m_lock);
    m_ended.insert(&session);
    m_someEnded.Signal();
}

} // namespace qxd
