#pragma once

#include "runtime/IRunnable.h"
#include "runtime/Thread.h"

#include <functional>

namespace qxmi
{
class IServiceCall;
}

namespace qx
{

/// Waits for a call on a thread of its own, so that the program can wait for other things at the same time. The call
/// outlives it; the destructor cancels one that still runs and waits for its end.
class CallWaiter final : public qpr::IRunnable
{
public:
    /// The callback comes on that thread, once the call has ended; it must not throw.
    CallWaiter(qxmi::IServiceCall& call, std::function<void()> onEnded);
    ~CallWaiter() override;

private:
    void Run() override;
    void HandleError(const std::exception&) override { m_onEnded(); }

    qxmi::IServiceCall& m_call;
    std::function<void()> m_onEnded;
    qpr::Thread m_thread;
};

} // namespace qx
