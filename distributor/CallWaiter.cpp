#include "distributor/CallWaiter.h"

#include "runtime/Thread.h"

#include <array>

namespace qxd
{

void CallWaiter::Check() const
{
    qpr::Thread::CheckInterrupt();
    m_cancellation.ThrowIfCancelled();
}

void CallWaiter::WaitFor(const qpr::WaitObject& object, const wchar_t* location) const
{
    // The first of several counts: what a client breaks off by going is told as its going.
    const std::array<qpr::WaitObject, 3> objects = {m_logSocket.InputObject(), m_cancellation.Object(), object};
    if (qpr::Thread::WaitForAnyObject(objects, location) == 0)
        m_cancellation.Cancel();
    m_cancellation.ThrowIfCancelled();
}

} // namespace qxd
