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
    ~ThreadEvent();
    ThreadEvent(const ThreadEvent&) = delete;
    ThreadEvent& operator=(const ThreadEvent&) = delete;

    void Signal();
    void Clear();

    /// An interruptible wait; throws TimeoutException.
    void Wait(std::uint32_t timeoutMs = Infinite);

    WaitObject Object() const noexcept;

private:
    NativeHandle m_handle;
    Kind m_kind;
};

} // namespace qpr
