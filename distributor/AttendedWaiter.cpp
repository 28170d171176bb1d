#include "distributor/AttendedWaiter.h"

#include "runtime/Errors.h"
#include "runtime/Thread.h"

#include <array>

namespace qxd
{

void AttendedWaiter::Check() const
{
    qpr::Thread::CheckInterrupt();
}

void AttendedWaiter::WaitFor(const qpr::WaitObject& object, const wchar_t* location) const
{
    const std::array<qpr::WaitObject, 2> objects = {object, m_client.InputObject()};
    const int signalled = qpr::Thread::WaitForAnyObject(objects, location, m_deadline.LeftMs(), true);
    if (signalled == 0)
        return;
    if (signalled < 0)
        throw qpr::RuntimeError(L"The client took too long");
    throw qpr::RuntimeError(
        m_client.HasInputEnded() ? L"The client is gone" : L"The client sent data before it had a servant");
}

} // namespace qxd
