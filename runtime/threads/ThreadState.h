#pragma once

#include "InterruptState.h" // of posix/ or windows/
#include "runtime/threads/Thread.h"

#include <atomic>

namespace qpr
{

/// A system thread. All functions but Run are the system's, in posix/ and windows/.
struct Thread::State
{
    State(IRunnable& body, const char* threadName) noexcept
        : runnable(body)
        , name(threadName)
    {
    }

    /// Starts the thread, which calls Run. Throws "CreateThread() failed".
    void Start();

    /// Runs the runnable and reports what left it; no exception gets out.
    void Run() noexcept;

    void Interrupt() noexcept;

    /// Interruptible. Throws TimeoutException and what else WaitForObject throws.
    void WaitForEnd(const wchar_t* location, std::uint32_t timeoutMs);

    /// Waits without limit, unless the end has been observed already.
    void Join() noexcept;

    IRunnable& runnable;
    const char* const name;
    InterruptState interrupt;
    SystemThread thread;
    bool joined = false; ///< the end has been observed
    std::atomic<bool> completed = false; ///< the runnable has returned
};

} // namespace qpr
