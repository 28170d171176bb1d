#include "worktable/ProcessEvent.h"

#include "runtime/Errors.h"
#include "runtime/Panic.h"
#include "runtime/windows/Handle.h"
#include "worktable/windows/SecurityDescriptorBuffer.h"

#include <stdexcept>
#include <vector>

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
    if (m_state)
        Panic("m_handle == NULL", "qpr::ProcessEvent::Create");
    OwnedHandle handle(CreateEventW(AttributesOf(security), FALSE, FALSE, name.c_str()));
    if (!handle.IsValid())
        ThrowSystemError(L"CreateEvent() failed", L"qpr::ProcessEvent::Create");
    if (GetLastError() == ERROR_ALREADY_EXISTS)
        throw RuntimeError(L"Event '" + name + L"' already exists");
    m_state = std::make_unique<State>(State{std::move(handle), true});
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

// An open handle would keep an event whose owner has gone, and its name: the events are opened for each signal.
struct ProcessEventGroup::State
{
    std::vector<std::wstring> names;
};

ProcessEventGroup::ProcessEventGroup(std::span<const std::wstring> names)
    : m_state(std::make_unique<State>(State{{names.begin(), names.end()}}))
{
}

ProcessEventGroup::~ProcessEventGroup() = default;

void ProcessEventGroup::Signal(std::size_t index) noexcept
{
    const OwnedHandle event(OpenEventW(EVENT_MODIFY_STATE, FALSE, m_state->names[index].c_str()));
    if (event.IsValid())
        SetEvent(event.Value());
}

} // namespace qpr
