#include "runtime/named/ProcessMutex.h"

#include "runtime/named/windows/SecurityDescriptorBuffer.h"
#include "runtime/text/Panic.h"
#include "runtime/threads/Thread.h"
#include "runtime/threads/windows/Handle.h"

namespace qpr
{

struct ProcessMutex::State
{
    SystemHandle<"qpr::ProcessMutex::~ProcessMutex"> handle;
};

ProcessMutex::ProcessMutex() noexcept = default;

ProcessMutex::~ProcessMutex() = default;

void ProcessMutex::OpenOrCreate(const std::wstring& name, const SecurityDescriptor& security)
{
    if (m_state)
        Panic("m_handle == NULL", "qpr::ProcessMutex::OpenOrCreate");
    State opened{decltype(State::handle)(NativeHandleOf(CreateMutexW(AttributesOf(security), FALSE, name.c_str())))};
    if (!opened.handle.IsValid())
        ThrowSystemError(L"CreateMutex() failed", L"qpr::ProcessMutex::OpenOrCreate");
    m_state = std::make_unique<State>(std::move(opened));
}

bool ProcessMutex::TryOpen(const std::wstring& name)
{
    if (m_state)
        Panic("m_handle == NULL", "qpr::ProcessMutex::TryOpen");
    State opened{decltype(State::handle)(NativeHandleOf(OpenMutexW(SYNCHRONIZE, FALSE, name.c_str())))};
    if (!opened.handle.IsValid())
    {
        if (GetLastError() == ERROR_FILE_NOT_FOUND)
            return false;
        ThrowSystemError(L"OpenMutex() failed", L"qpr::ProcessMutex::TryOpen");
    }
    m_state = std::make_unique<State>(std::move(opened));
    return true;
}

void ProcessMutex::Acquire(std::uint32_t timeoutMs)
{
    Thread::WaitForObject(
        {m_state->handle.Get(), WaitObject::Kind_AutoReset}, L"qpr::ProcessMutex::Acquire", timeoutMs);
}

void ProcessMutex::Release()
{
    if (!ReleaseMutex(SystemHandleOf(m_state->handle)))
        ThrowSystemError(L"ReleaseMutex() failed", L"qpr::ProcessMutex::Release");
}

bool ProcessMutex::HasName() const noexcept
{
    return true; // a name lasts as long as anybody has the object open
}

} // namespace qpr
