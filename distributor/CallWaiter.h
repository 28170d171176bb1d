#pragma once

#include "runtime/Cancellation.h"
#include "runtime/IWaiter.h"
#include "runtime/Socket.h"

namespace qxd
{

/// How the session thread of a running call waits: joined by the end of the log connection, which means that the client
/// is gone. It then cancels the call, and with it the waits of the call's other threads, which join the cancellation
/// alone.
class CallWaiter final : public qpr::IWaiter
{
public:
    /// Not owned; outlives the waiter. Nothing ever comes on this connection but its end.
    explicit CallWaiter(const qpr::Socket& logSocket)
        : m_logSocket(logSocket)
    {
    }

    void Check() const override;
    void WaitFor(const qpr::WaitObject& object, const wchar_t* location) const override;

    bool ClientIsGone() const noexcept { return m_cancellation.IsCancelled(); }
    const qpr::Cancellation& GetCancellation() const noexcept { return m_cancellation; }

private:
    const qpr::Socket& m_logSocket; // not owned
    mutable qpr::Cancellation m_cancellation;
};

} // namespace qxd
