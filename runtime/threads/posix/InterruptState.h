#pragma once

#include "runtime/text/Panic.h"
#include "runtime/threads/posix/EventDescriptor.h"

#include <atomic>
#include <unistd.h>

namespace qpr
{

/// How a thread started by Thread is interrupted: a flag says so, a descriptor wakes it out of a wait. Owned by the
/// Thread object, which keeps it until the thread is joined. A descriptor costs a good part of what a thread costs: it
/// comes into being with the thread's first wait that blocks.
class InterruptState
{
public:
    InterruptState() = default;
    InterruptState(const InterruptState&) = delete;
    InterruptState& operator=(const InterruptState&) = delete;

    ~InterruptState()
    {
        if (m_descriptor >= 0 && close(m_descriptor) != 0)
            Panic("CloseHandle(m_handle)", "qpr::Thread::~Thread");
    }

    /// Any thread may call it. Either sees the descriptor, or the thread sees the request before it blocks.
    void Request() noexcept
    {
        m_isRequested = true;
        const int descriptor = m_descriptor;
        if (descriptor >= 0)
            SignalEventDescriptor(descriptor);
    }

    /// The rest is for the thread itself.

    bool IsRequested() const noexcept { return m_isRequested; }

    /// Whether there was a request. The descriptor's signal stays behind for a later wait.
    bool Take() noexcept { return m_isRequested.load(std::memory_order_relaxed) && m_isRequested.exchange(false); }

    /// What a wait joins; -1 when the system has none left. Look at IsRequested after it and before blocking.
    int Descriptor() noexcept
    {
        if (m_descriptor < 0)
            m_descriptor = CreateEventDescriptor();
        return m_descriptor;
    }

    /// Takes the signal that ended a wait, which may be that of a request long taken. Look at IsRequested after it.
    void TakeWakeUp() noexcept { TakeSignal(m_descriptor); }

private:
    std::atomic<bool> m_isRequested = false;
    std::atomic<int> m_descriptor = -1;
};

/// What every wait needs to know of its thread. A thread that Thread did not start has no interrupt state.
struct CurrentThreadState
{
    InterruptState* interrupt = nullptr; // not owned, outlives the thread
    bool putsOffInterrupts = false;

    InterruptState* ActiveInterrupt() const noexcept { return putsOffInterrupts ? nullptr : interrupt; }
};

extern constinit thread_local CurrentThreadState currentThread;

} // namespace qpr
