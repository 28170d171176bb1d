#include "runtime/named/ProcessEvent.h"

#include "runtime/named/windows/SecurityDescriptorBuffer.h"
#include "runtime/text/Errors.h"
#include "runtime/text/Panic.h"
#include "runtime/threads/windows/Handle.h"

#include <stdexcept>

namespace qpr
{

struct ProcessEvent::State
{
    SystemHandle<"qpr::ProcessEvent::~ProcessEvent"> handle;
    bool isCreator;
};

ProcessEvent::ProcessEvent() noexcept = default;

ProcessEvent::~ProcessEvent()
{
    Close();
}

void ProcessEvent::Create(const std::wstring& name, const SecurityDescriptor& security)
{
    if (!TryCreate(name, security))
        throw RuntimeError(L"Event '" + name + L"' already exists");
}

bool ProcessEvent::TryCreate(const std::wstring& name, const SecurityDescriptor& security)
{
    if (m_state)
        Panic("m_handle == NULL", "qpr::ProcessEvent::Create");
    State created{
        decltype(State::handle)(NativeHandleOf(CreateEventW(AttributesOf(security), FALSE, FALSE, name.c_str()))),
        true};
    const DWORD error = GetLastError();
    // The name is also taken when the event is refused to us, or is an object of another kind.
    const bool isTaken = created.handle.IsValid() ? error == ERROR_ALREADY_EXISTS
                                                  : error == ERROR_ACCESS_DENIED || error == ERROR_INVALID_HANDLE;
    if (isTaken)
        return false;
    if (!created.handle.IsValid())
        ThrowSystemErrorWithNumber(L"CreateEvent() failed", L"qpr::ProcessEvent::Create", error);
    m_state = std::make_unique<State>(std::move(created));
    return true;
}

bool ProcessEvent::TryOpen(const std::wstring& name)
{
    if (m_state)
        Panic("m_handle == NULL", "qpr::ProcessEvent::TryOpen");
    State opened{
        decltype(State::handle)(NativeHandleOf(OpenEventW(SYNCHRONIZE | EVENT_MODIFY_STATE, FALSE, name.c_str()))),
        false};
    if (!opened.handle.IsValid())
    {
        if (GetLastError() == ERROR_FILE_NOT_FOUND)
            return false;
        ThrowSystemError(L"OpenMutex() failed", L"qpr::ProcessEvent::TryOpen");
    }
    m_state = std::make_unique<State>(std::move(opened));
    return true;
}

void ProcessEvent::Signal()
{
    if (!SetEvent(SystemHandleOf(m_state->handle)))
        ThrowSystemError(L"SetEvent() failed", L"qpr::ProcessEvent::Signal");
}

void ProcessEvent::Wait(std::uint32_t timeoutMs)
{
    if (!m_state->isCreator)
        throw std::logic_error("qpr::ProcessEvent::Wait: not the creator");
    Thread::WaitForObject({m_state->handle.Get(), WaitObject::Kind_AutoReset}, L"qpr::ProcessEvent::Wait", timeoutMs);
}

void ProcessEvent::Close() noexcept
{
    m_state.reset();
}

bool ProcessEvent::HasName() const noexcept
{
    return true; // a name lasts as long as anybody has the object open
}

} // namespace qpr
