#pragma once

#include "distributor/ClientSession.h"
#include "runtime/threads/Mutex.h"
#include "runtime/threads/ThreadEvent.h"

#include <list>
#include <memory>
#include <set>

namespace qxd
{

/// The sessions that there are. Used by the distributor's own thread; only their ends come from other threads.
class SessionList
{
public:
    /// Not owned; outlive the list.
    explicit SessionList(const SessionSurroundings& surroundings);

    /// Throws what starting a thread throws.
    void Start(qpr::Socket socket, const qpr::SocketAddress& address);

    std::size_t Size() const noexcept { return m_sessions.size(); }

    /// Signalled, once, after sessions have ended.
    qpr::WaitObject EndedObject() const noexcept { return m_someEnded.Object(); }

    void RemoveEnded();
    void GiveUpReceptions();

    /// Drops the client that has been here longest of those without an accepted request; false when there is none.
    bool DropOldestReception();

    /// Ends those that are left, with their servants.
    void EndAll() { m_sessions.clear(); }

private:
    void OnEnd(ClientSession& session);

    const SessionSurroundings& m_surroundings;
    qpr::Mutex m_lock;
    std::set<ClientSession*> m_ended QX_GUARDED_BY(m_lock);
    qpr::ThreadEvent m_someEnded{qpr::ThreadEvent::Kind_AutoReset};
    std::list<std::unique_ptr<ClientSession>> m_sessions; ///< as they came; last: their threads use the rest
};

} // namespace qxd
