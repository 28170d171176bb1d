#include "runtime/threads/windows/InterruptState.h"

namespace qpr
{

constinit thread_local CurrentThreadState currentThread;

namespace
{

void CALLBACK NoteInterrupt(ULONG_PTR) noexcept
{
    currentThread.interruptWord |= CurrentThreadState::interruptPending;
}

} // namespace

void InterruptState::Request(HANDLE thread) noexcept
{
    if (!QueueUserAPC(&NoteInterrupt, thread, 0))
        return; // the thread has ended
    // The thread may have said that it enters a call and not have entered it yet: then there is nothing to cancel.
    while (m_isInSynchronousCall && !CancelSynchronousIo(thread))
        ::Sleep(1);
}

InterruptState::SynchronousCall::SynchronousCall() noexcept
    : m_state(currentThread.IsInterruptible() ? currentThread.interrupt : nullptr)
{
    if (m_state)
        m_state->m_isInSynchronousCall = true;
}

InterruptState::SynchronousCall::~SynchronousCall()
{
    if (m_state)
        m_state->m_isInSynchronousCall = false;
}

} // namespace qpr
