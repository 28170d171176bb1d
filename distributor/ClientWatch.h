#pragma once

#include "runtime/IRunnable.h"
#include "runtime/Socket.h"
#include "runtime/Thread.h"

namespace qpr
{
class Cancellation;
}

namespace qxd
{

/// Waits on a thread of its own for the end of a client's log connection, which means that the client is gone, and
/// cancels the call then.
class ClientWatch final : private qpr::IRunnable
{
public:
    /// Neither is owned; both outlive the watch.
    ClientWatch(const qpr::Socket& logSocket, qpr::Cancellation& cancellation);

private:
    void Run() override;
    void HandleError(const std::exception&) override { }

    const qpr::Socket& m_logSocket; // not owned
    qpr::Cancellation& m_cancellation; // not owned
    qpr::Thread m_thread; // last: starts when the rest is there, interrupted and joined first
};

} // namespace qxd
