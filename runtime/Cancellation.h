#pragma once

#include "runtime/ThreadEvent.h"

#include <atomic>
#include <thread>

namespace qpr
{

/// The one way to stop a running call: every wait on the call's channels joins it, whichever thread waits. Once
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

    /// Waits without limit for the object, for a cancel and for an interrupt of the calling thread. cancellation may be
    /// null.
    static void WaitForObject(const Cancellation* cancellation, const WaitObject& object, const wchar_t* location,
        int line = __builtin_LINE());

private:
    std::atomic<bool> m_isCancelled = false;
    std::atomic<std::thread::id> m_owner;
    ThreadEvent m_event;
};

} // namespace qpr
