#include "runtime/threads/ThreadEvent.h"

#include "runtime/text/Errors.h"
#include "runtime/text/Panic.h"
#include "runtime/threads/posix/Descriptor.h"
#include "runtime/threads/posix/EventDescriptor.h"

#include <cerrno>
#include <unistd.h>

namespace qpr
{

ThreadEvent::ThreadEvent(Kind kind)
    : m_handle(HandleOf(CreateEventDescriptor()))
    , m_kind(kind)
{
    if (!m_handle.IsValid())
        ThrowSystemError(L"CreateEvent() failed", L"qpr::ThreadEvent::ThreadEvent", 13);
}

ThreadEvent::~ThreadEvent()
{
    if (close(DescriptorOf(m_handle)) != 0)
        Panic("CloseHandle(m_handle)", "qpr::ThreadEvent::~ThreadEvent", 19);
}

void ThreadEvent::Signal()
{
    if (!SignalEventDescriptor(DescriptorOf(m_handle)))
        ThrowSystemError(L"SetEvent() failed", L"qpr::ThreadEvent::Signal");
}

void ThreadEvent::Clear()
{
    if (!TakeSignal(DescriptorOf(m_handle)) && errno != EAGAIN)
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
