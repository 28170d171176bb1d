#pragma once

#include "runtime/ThreadEvent.h"

#include <atomic>
#include <thread>

namespace qpr
{

/// The one way to stop a running call: every Wait on the call's channels watches it, whichever thread waits. Once
/// cancelled it stays so. All operations may be called from any thread.
class Cancellation
{
public:
    Cancellation();

    /// Makes the calling thread the call's own: on it a cancelled wait ends in InterruptException, on all others in the
    /// runtime error "Call cancelled".
    void AdoptCurrentThread() noexcept;

    void Cancel();
    bool IsCancelled() const noexcept { return m_isCancelled.load(std::memory_order_acquire); }

    /// Does nothing unless cancelled.
    void ThrowIfCancelled() const;

    /// Signalled once cancelled.
    WaitObject Object() const noexcept { return m_event.Object(); }

private:
    std::atomic<bool> m_isCancelled = false;
    std::atomic<std::thread::id> m_owner;
    ThreadEvent m_event;
};

} // namespace qpr
