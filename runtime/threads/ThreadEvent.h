#pragma once

#include "runtime/threads/Thread.h"
#include "runtime/threads/WaitObject.h"

namespace qpr
{

/// An event that threads of this process wait for; created not signalled. Signal, Clear and Wait may be called from any
/// thread.
class ThreadEvent
{
public:
    enum Kind
    {
        Kind_AutoReset = 0, ///< one satisfied wait takes the signal
        Kind_ManualReset = 1, ///< stays signalled until cleared
    };

    explicit ThreadEvent(Kind kind);
    ThreadEvent(const ThreadEvent&) = delete;
    ThreadEvent& operator=(const ThreadEvent&) = delete;

    void Signal();
    void Clear();

    /// An interruptible wait; throws TimeoutException.
    void Wait(std::uint32_t timeoutMs = Infinite);

    WaitObject Object() const noexcept { return {m_handle.Get(), m_kind}; }

private:
    WaitObject::Kind m_kind;
    SystemHandle<"qpr::ThreadEvent::~ThreadEvent", 19> m_handle;
};

} // namespace qpr
