#include "runtime/Cancellation.h"

#include "runtime/Errors.h"

namespace qpr
{

Cancellation::Cancellation()
    : m_event(ThreadEvent::Kind_ManualReset)
{
}

void Cancellation::AdoptCurrentThread() noexcept
{
    m_owner.store(std::this_thread::get_id());
}

void Cancellation::Cancel()
{
    m_isCancelled.store(true, std::memory_order_release);
    m_event.Signal();
}

void Cancellation::ThrowIfCancelled() const
{
    if (!IsCancelled())
        return;
    if (m_owner.load() == std::this_thread::get_id())
        throw InterruptException();
    throw RuntimeError(L"Call cancelled");
}

void Cancellation::WaitForObject(
    const Cancellation* cancellation, const WaitObject& object, const wchar_t* location, int line)
{
    if (!cancellation)
    {
        Thread::WaitForObject(object, location, Infinite, false, line);
        return;
    }
    cancellation->ThrowIfCancelled();
    // The cancel comes first, so that it wins over data that is there too.
    const WaitObject objects[] = {cancellation->Object(), object};
    Thread::WaitForAnyObject(objects, location, Infinite, false, line);
    cancellation->ThrowIfCancelled();
}

} // namespace qpr
