#include "runtime/threads/Cancellation.h"

#include "runtime/text/Errors.h"

namespace qpr
{

namespace
{

constinit thread_local const Cancellation* ofCurrentThread = nullptr;

}

Cancellation::Cancellation()
    : m_event(ThreadEvent::Kind_ManualReset)
{
}

Cancellation::~Cancellation()
{
    if (ofCurrentThread == this)
        ofCurrentThread = nullptr;
}

void Cancellation::AdoptCurrentThread() noexcept
{
    ofCurrentThread = this;
}

const Cancellation* Cancellation::OfCurrentThread() noexcept
{
    return ofCurrentThread;
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
    if (ofCurrentThread == this)
        throw InterruptException();
    throw RuntimeError(L"Call cancelled");
}

} // namespace qpr
