#pragma once

#include "runtime/text/windows/SystemHeaders.h"

#include <atomic>
#include <cstdint>

namespace qpr
{

/// What an interrupt needs to know of the thread that it is for: whether that one is in a system call that only
/// CancelSynchronousIo ends. Owned by the Thread object.
class InterruptState
{
public:
    /// Any thread may call it; thread is the one that this state belongs to.
    void Request(HANDLE thread) noexcept;

    /// While it lives, the current thread is in such a call; an interrupt lets it fail with ERROR_OPERATION_ABORTED.
    /// Check for interrupts after its construction and before the call.
    class SynchronousCall
    {
    public:
        SynchronousCall() noexcept;
        ~SynchronousCall();
        SynchronousCall(const SynchronousCall&) = delete;
        SynchronousCall& operator=(const SynchronousCall&) = delete;

    private:
        InterruptState* m_state; // not owned; null when the thread cannot be interrupted now
    };

private:
    std::atomic<bool> m_isInSynchronousCall = false;
};

/// What every wait needs to know of its thread. Changed by the thread alone, so that nothing here is atomic.
struct CurrentThreadState
{
    static constexpr std::uint32_t interruptPending = 1;
    static constexpr std::uint32_t notInterruptible = 2;

    std::uint32_t interruptWord = 0; ///< the bits above
    InterruptState* interrupt = nullptr; ///< not owned, outlives the thread; null for one that Thread did not start

    /// Only such a thread waits alertably: calls that an application has queued to a thread of its own are not to run
    /// inside a wait of ours.
    bool IsInterruptible() const noexcept { return interrupt && (interruptWord & notInterruptible) == 0; }
};

extern constinit thread_local CurrentThreadState currentThread;

} // namespace qpr
