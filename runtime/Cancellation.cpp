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

} // namespace qpr
