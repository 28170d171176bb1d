#pragma once

#include <atomic>

namespace qpr
{

/// How a thread started by Thread is interrupted: the flag says so, the descriptor wakes it out of a wait. Owned by the
/// Thread object, which closes the descriptor after the join.
struct InterruptState
{
    std::atomic<bool> isPending = false;
    int descriptor = -1;
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
