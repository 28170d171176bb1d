#pragma once

#include "runtime/threads/SystemWait.h"
#include "runtime/threads/posix/Descriptor.h"

#include <atomic>
#include <pthread.h>

namespace qpr
{

/// How a thread started by Thread is interrupted: a flag says so, a descriptor wakes it from a wait. Owned by the
/// Thread object, which keeps it until the thread is joined. The descriptor is created in the thread's first wait that
/// blocks: one for every thread would add a good part to what starting a thread costs.
class InterruptState
{
public:
    /// Any thread may call it. Either this sees the descriptor, or the thread sees the request before it blocks.
    void Request() noexcept
    {
        m_isRequested = true;
        const int descriptor = m_descriptor;
        if (descriptor >= 0)
            SetSystemEvent(HandleOf(descriptor));
    }

    /// The rest is for the thread itself.

    bool IsRequested() const noexcept { return m_isRequested; }

    /// Whether there was a request. The descriptor stays signalled until a later wait.
    bool Take() noexcept { return m_isRequested.load(std::memory_order_relaxed) && m_isRequested.exchange(false); }

    /// What a wait adds to its objects; -1 when the system has none left. Check IsRequested between this and blocking.
    int Descriptor() noexcept
    {
        if (!m_event.IsValid())
        {
            m_event = Event(CreateSystemEvent(WaitObject::Kind_AutoReset));
            m_descriptor = DescriptorOf(m_event);
        }
        return m_descriptor;
    }

    /// Takes the signal that ended a wait; it may be that of an earlier request. Check IsRequested after it.
    void TakeWakeUp() noexcept { ResetSystemEvent(m_event.Get()); }

private:
    using Event = SystemHandle<"qpr::Thread::~Thread">;

    std::atomic<bool> m_isRequested = false;
    Event m_event; ///< the thread's own
    std::atomic<int> m_descriptor = -1; ///< the event's, for other threads
};

/// What every wait needs to know of its thread. A thread that Thread did not start has no interrupt state.
struct CurrentThreadState
{
    InterruptState* interrupt = nullptr; // not owned, outlives the thread
    bool putsOffInterrupts = false;

    InterruptState* ActiveInterrupt() const noexcept { return putsOffInterrupts ? nullptr : interrupt; }
};

extern constinit thread_local CurrentThreadState currentThread;

struct SystemThread
{
    pthread_t id{};
    std::atomic<int> endWaiter = -1; ///< the event descriptor to signal at the thread's end; -1 when nobody waits
};

} // namespace qpr
