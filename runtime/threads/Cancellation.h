#pragma once

#include "runtime/threads/ThreadEvent.h"

#include <atomic>

namespace qpr
{

/// The one way to stop a running call: every Wait on the call's channels watches it, whichever thread waits. Once
/// cancelled, it stays cancelled. All operations may be called from any thread.
class Cancellation
{
public:
    Cancellation();
    ~Cancellation();
    Cancellation(const Cancellation&) = delete;
    Cancellation& operator=(const Cancellation&) = delete;

    /// Makes the calling thread the call's own until this object is destroyed on it. There a cancelled wait throws
    /// InterruptException, on all other threads the runtime error "Call cancelled".
    void AdoptCurrentThread() noexcept;

    /// That of the call whose own thread this is; null on other threads.
    static const Cancellation* OfCurrentThread() noexcept;

    void Cancel();
    bool IsCancelled() const noexcept { return m_isCancelled.load(std::memory_order_acquire); }

    /// Does nothing unless cancelled.
    void ThrowIfCancelled() const;

    /// Signalled once cancelled.
    WaitObject Object() const noexcept { return m_event.Object(); }

private:
    std::atomic<bool> m_isCancelled = false;
    ThreadEvent m_event;
};

} // namespace qpr
