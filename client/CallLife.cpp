#include "client/CallLife.h"

#include <utility>

namespace QxClient
{

namespace
{

/// Where a waiter looks again by itself.
constexpr std::uint32_t waitSliceMs = 1000;

/// Where a call that waits for another one looks whether it has been cancelled itself.
constexpr std::uint32_t nestedWaitSliceMs = 50;

} // namespace

void CallLife::Start(qpr::IRunnable& body)
{
    m_state = State::Started;
    m_thread.reset(); // of an earlier start, at its very end
    m_cancellation = std::make_unique<qpr::Cancellation>();
    m_thread = std::make_unique<qpr::Thread>(body, "qx call");
}

void CallLife::Cancel()
{
    m_isCancelRequested = true;
    if (m_state == State::Started)
        m_cancellation->Cancel();
}

void CallLife::ReportError(std::exception_ptr error) noexcept
{
    if (m_outcome != Outcome::Open)
        return;
    m_outcome = m_isCancelRequested ? Outcome::Cancelled : Outcome::Failed;
    if (m_outcome == Outcome::Failed)
        m_error = std::move(error);
}

void CallLife::Decide() noexcept
{
    if (m_outcome == Outcome::Open)
        m_outcome = m_isCancelRequested ? Outcome::Cancelled : Outcome::Done;
}

void CallLife::End() noexcept
{
    m_state = State::Ended;
    m_cancellation.reset();
    m_ended.NotifyAll();
}

void CallLife::WaitForEnd(qpr::Mutex& lock, const qpr::Cancellation* waiter)
{
    while (m_state != State::Ended)
    {
        if (waiter)
            waiter->ThrowIfCancelled();
        m_ended.WaitFor(lock, waiter ? nestedWaitSliceMs : waitSliceMs);
    }
}

} // namespace QxClient
