#include "runtime/threads/ThreadEvent.h"

#include "runtime/text/Errors.h"
#include "runtime/text/Panic.h"
#include "runtime/threads/windows/Handle.h"

namespace qpr
{

ThreadEvent::ThreadEvent(Kind kind)
    : m_handle(NativeHandleOf(CreateEventW(nullptr, kind == Kind_ManualReset, FALSE, nullptr)))
    , m_kind(kind)
{
    if (!m_handle.IsValid())
        ThrowSystemError(L"CreateEvent() failed", L"qpr::ThreadEvent::ThreadEvent", 13);
}

ThreadEvent::~ThreadEvent()
{
    if (!CloseHandle(SystemHandleOf(m_handle)))
        Panic("CloseHandle(m_handle)", "qpr::ThreadEvent::~ThreadEvent", 19);
}

void ThreadEvent::Signal()
{
    if (!SetEvent(SystemHandleOf(m_handle)))
        ThrowSystemError(L"SetEvent() failed", L"qpr::ThreadEvent::Signal");
}

void ThreadEvent::Clear()
{
    if (!ResetEvent(SystemHandleOf(m_handle)))
        ThrowSystemError(L"ResetEvent() failed", L"qpr::ThreadEvent::Clear");
}

void ThreadEvent::Wait(std::uint32_t timeoutMs)
{
    Thread::WaitForObject(Object(), L"qpr::ThreadEvent::Wait", timeoutMs);
}

WaitObject ThreadEvent::Object() const noexcept
{
    return {m_handle, m_kind == Kind_ManualReset ? WaitObject::Kind_State : WaitObject::Kind_AutoReset};
}

} // namespace qpr
