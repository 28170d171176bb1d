#include "runtime/threads/ThreadEvent.h"

#include "runtime/text/Errors.h"
#include "runtime/threads/SystemWait.h"

namespace qpr
{

ThreadEvent::ThreadEvent(Kind kind)
    : m_kind(kind == Kind_ManualReset ? WaitObject::Kind_State : WaitObject::Kind_AutoReset)
    , m_handle(CreateSystemEvent(m_kind))
{
    if (!m_handle.IsValid())
        ThrowSystemError(L"CreateEvent() failed", L"qpr::ThreadEvent::ThreadEvent", 13);
}

void ThreadEvent::Signal()
{
    if (!SetSystemEvent(m_handle.Get()))
        ThrowSystemError(L"SetEvent() failed", L"qpr::ThreadEvent::Signal");
}

void ThreadEvent::Clear()
{
    if (!ResetSystemEvent(m_handle.Get()))
        ThrowSystemError(L"ResetEvent() failed", L"qpr::ThreadEvent::Clear");
}

void ThreadEvent::Wait(std::uint32_t timeoutMs)
{
    Thread::WaitForObject(Object(), L"qpr::ThreadEvent::Wait", timeoutMs);
}

} // namespace qpr
