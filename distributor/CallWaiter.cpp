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
    const std::array<qpr::WaitObject, 3> objects = {object, m_cancellation.Object(), m_logSocket.InputObject()};
    if (qpr::Thread::WaitForAnyObject(objects, location) == 2)
        m_cancellation.Cancel();
    m_cancellation.ThrowIfCancelled();
}

} // namespace qxd
