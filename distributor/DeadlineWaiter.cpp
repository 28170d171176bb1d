#include "distributor/DeadlineWaiter.h"

#include "runtime/Errors.h"
#include "runtime/Thread.h"

namespace qxd
{
namespace
{

[[noreturn]] void ThrowTooLong()
{
    throw qpr::RuntimeError(L"The client took too long");
}

} // namespace

void DeadlineWaiter::Check() const
{
    qpr::Thread::CheckInterrupt();
    if (m_deadline.HasPassed())
        ThrowTooLong();
}

void DeadlineWaiter::WaitFor(const qpr::WaitObject& object, const wchar_t* location) const
{
    if (!qpr::Thread::WaitForObject(object, location, m_deadline.LeftMs(), true))
        ThrowTooLong();
}

} // namespace qxd
