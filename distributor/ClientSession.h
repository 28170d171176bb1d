#pragma once

#include "distributor/Reception.h"
#include "distributor/SlotQueue.h"
#include "runtime/channels/Socket.h"
#include "runtime/threads/IRunnable.h"
#include "runtime/threads/Thread.h"

#include <atomic>
#include <functional>
#include <memory>

namespace qxd
{

class ClientConversation;
class JoinedCall;

/// One client from its connection to the end of its call, on a thread of its own. Whatever the client does or fails to
/// do ends its session and nothing else. The destructor ends the session, with its servant, wherever it is.
class ClientSession final : private qpr::IRunnable
{
public:
    /// onEnd is called last, on the session's thread, and must not throw. The surroundings outlive the session.
    ClientSession(qpr::Socket socket, const qpr::SocketAddress& address, const SessionSurroundings& surroundings,
        std::function<void(ClientSession&)> onEnd);

    /// Interrupts a session that has no accepted request yet, and keeps it from accepting one; false when it has.
    bool GiveUpReception();

private:
    enum class State
    {
        Receiving,
        Accepted,
        GivenUp,
    };

    void Run() override;
    void HandleError(const std::exception&) override { m_onEnd(*this); }

    void Execute(const CallOrder& order);
    std::unique_ptr<JoinedCall> StartServant(
        const CallOrder& order, SlotQueue::Place& place, ClientConversation& conversation);
    std::wstring SeeThrough(JoinedCall& call, const CallOrder& order, SlotQueue::Place& place);

    qpr::Socket m_socket;
    const qpr::SocketAddress m_address;
    const SessionSurroundings& m_surroundings;
    const std::function<void(ClientSession&)> m_onEnd;
    std::wstring m_subject; ///< what the journal's line is about
    std::atomic<State> m_state = State::Receiving;
    qpr::Thread m_thread; // last: starts when the rest is there, interrupted and joined first
};

} // namespace qxd
