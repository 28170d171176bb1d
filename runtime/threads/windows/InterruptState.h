#pragma once

#include "runtime/threads/windows/Handle.h"

#include <atomic>
#include <cstdint>

namespace qpr
{

/// What an interrupt needs to know of its thread: whether that is in a system call that only CancelSynchronousIo ends.
/// Owned by the Thread object.
class InterruptState
{
public:
    /// Any thread may call it; thread is the one that this state belongs to.
    void Request(HANDLE thread) noexcept;

    /// While it lives, the current thread is in such a call; an interrupt makes the call fail with
    /// ERROR_OPERATION_ABORTED. Check for interrupts between its construction and the call.
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

    /// Only such a thread waits alertably: calls that an application queued to a thread of its own must not run inside
    /// our waits.
    bool IsInterruptible() const noexcept { return interrupt && (interruptWord & notInterruptible) == 0; }
};

extern constinit thread_local CurrentThreadState currentThread;

using SystemThread = SystemHandle<"qpr::Thread::~Thread">;

} // namespace qpr
