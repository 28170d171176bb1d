#include "runtime/CancellableWaiter.h"

#include "runtime/Cancellation.h"
#include "runtime/Thread.h"

namespace qpr
{

void CancellableWaiter::Check() const
{
    Thread::CheckInterrupt();
    if (m_cancellation)
        m_cancellation->ThrowIfCancelled();
}

void CancellableWaiter::WaitFor(const WaitObject& object, const wchar_t* location) const
{
    Cancellation::WaitForObject(m_cancellation, object, location);
}

} // namespace qpr
