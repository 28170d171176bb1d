#pragma once

#include "runtime/threads/Cancellation.h"
#include "runtime/threads/IRunnable.h"
#include "runtime/threads/Mutex.h"
#include "runtime/threads/Thread.h"

#include <exception>
#include <memory>

namespace QxClient
{

/// A call's way from its creation to its end, and how it ends.
///
///                Enqueue            Start               End
///     Created ------------> Queued -------> Started -----------> Ended
///        ^                   |  ^              |                   ^
///        +-------------------+  +--------------+                   |
///               Dequeue      |       Enqueue (the network failed   |
///                            |       it, it is to run here)        |
///                            +-------------------------------------+
///                                    End (cancelled, or its start failed)
///
/// A call has exactly one outcome: cancelled when that was asked for before any error, else the first error, else done.
/// A queued call that is cancelled ends at once; a started one is asked to stop and ends on its own thread.
///
/// Not thread safe: the caller holds the connector's lock, except where a function says otherwise.
class CallLife
{
public:
    enum class State
    {
        Created,
        Queued,
        Started,
        Ended,
    };

    enum class Outcome
    {
        Open,
        Done,
        Failed,
        Cancelled,
    };

    State GetState() const noexcept { return m_state; }
    void Enqueue() noexcept { m_state = State::Queued; }
    void Dequeue() noexcept { m_state = State::Created; }

    /// Starts the call's thread, which runs the body. Throws when there is none to be had.
    void Start(qpr::IRunnable& body);

    void Cancel();
    bool IsCancelRequested() const noexcept { return m_isCancelRequested; }

    /// An error after the first one, or after a cancel, is ignored.
    void ReportError(std::exception_ptr error) noexcept;

    /// Fixes the outcome of a call that has nothing left to do but to tell its request.
    void Decide() noexcept;

    /// Once decided, the call's own thread may ask without the lock.
    Outcome GetOutcome() const noexcept { return m_outcome; }
    std::exception_ptr Error() const noexcept { return m_error; }

    /// The last thing done to a call: its waiters go on, and may destroy it once the lock is free.
    void End() noexcept;

    /// Returns once the call has ended. A waiter that is a call itself, given by its cancellation, stops waiting when
    /// it is cancelled: throws what Cancellation::ThrowIfCancelled throws.
    void WaitForEnd(qpr::Mutex& lock, const qpr::Cancellation* waiter = nullptr) QX_REQUIRES(lock);

    /// Of the started call. Its own thread asks without the lock.
    qpr::Cancellation& GetCancellation() const noexcept { return *m_cancellation; }

    /// The thread of a call that has ended or is about to. It cannot wait for itself: somebody else takes it to do so.
    std::unique_ptr<qpr::Thread> TakeThread() noexcept { return std::move(m_thread); }

private:
    State m_state = State::Created;
    Outcome m_outcome = Outcome::Open;
    bool m_isCancelRequested = false;
    std::exception_ptr m_error;
    qpr::ConditionVariable m_ended;

    // While the call runs: one that is queued or has ended holds no handles.
    std::unique_ptr<qpr::Cancellation> m_cancellation;
    std::unique_ptr<qpr::Thread> m_thread;
};

} // namespace QxClient
