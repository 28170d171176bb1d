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
    OwnedHandle handle;
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
    OwnedHandle handle(CreateEventW(AttributesOf(security), FALSE, FALSE, name.c_str()));
    const DWORD error = GetLastError();
    // Refused, or of another kind: somebody has the name as well.
    const bool isTaken = handle.IsValid() ? error == ERROR_ALREADY_EXISTS
                                          : error == ERROR_ACCESS_DENIED || error == ERROR_INVALID_HANDLE;
    if (isTaken)
        return false;
    if (!handle.IsValid())
        ThrowSystemErrorWithNumber(L"CreateEvent() failed", L"qpr::ProcessEvent::Create", error);
    m_state = std::make_unique<State>(State{std::move(handle), true});
    return true;
}

bool ProcessEvent::TryOpen(const std::wstring& name)
{
    if (m_state)
        Panic("m_handle == NULL", "qpr::ProcessEvent::TryOpen");
    OwnedHandle handle(OpenEventW(SYNCHRONIZE | EVENT_MODIFY_STATE, FALSE, name.c_str()));
    if (!handle.IsValid())
    {
        if (GetLastError() == ERROR_FILE_NOT_FOUND)
            return false;
        ThrowSystemError(L"OpenMutex() failed", L"qpr::ProcessEvent::TryOpen");
    }
    m_state = std::make_unique<State>(State{std::move(handle), false});
    return true;
}

void ProcessEvent::Signal()
{
    if (!SetEvent(m_state->handle.Value()))
        ThrowSystemError(L"SetEvent() failed", L"qpr::ProcessEvent::Signal");
}

void ProcessEvent::Wait(std::uint32_t timeoutMs)
{
    if (!m_state->isCreator)
        throw std::logic_error("qpr::ProcessEvent::Wait: not the creator");
    Thread::WaitForObject(
        {m_state->handle.Native(), WaitObject::Kind_AutoReset}, L"qpr::ProcessEvent::Wait", timeoutMs);
}

void ProcessEvent::Close() noexcept
{
    if (m_state && !m_state->handle.Close())
        Panic("CloseHandle(m_handle)", "qpr::ProcessEvent::~ProcessEvent");
    m_state.reset();
}

bool ProcessEvent::HasName() const noexcept
{
    return true; // as long as anybody has it open
}

} // namespace qpr
