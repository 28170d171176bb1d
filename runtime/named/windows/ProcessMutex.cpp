#include "runtime/named/ProcessMutex.h"

#include "runtime/named/windows/SecurityDescriptorBuffer.h"
#include "runtime/text/Panic.h"
#include "runtime/threads/Thread.h"
#include "runtime/threads/windows/Handle.h"

namespace qpr
{

struct ProcessMutex::State
{
    explicit State(OwnedHandle owned) noexcept
        : handle(std::move(owned))
    {
    }
    ~State()
    {
        if (!handle.Close())
            Panic("CloseHandle(m_handle)", "qpr::ProcessMutex::~ProcessMutex");
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    OwnedHandle handle;
};

ProcessMutex::ProcessMutex() noexcept = default;

ProcessMutex::~ProcessMutex() = default;

void ProcessMutex::OpenOrCreate(const std::wstring& name, const SecurityDescriptor& security)
{
    if (m_state)
        Panic("m_handle == NULL", "qpr::ProcessMutex::OpenOrCreate");
    OwnedHandle handle(CreateMutexW(AttributesOf(security), FALSE, name.c_str()));
    if (!handle.IsValid())
        ThrowSystemError(L"CreateMutex() failed", L"qpr::ProcessMutex::OpenOrCreate");
    m_state = std::make_unique<State>(std::move(handle));
}

bool ProcessMutex::TryOpen(const std::wstring& name)
{
    if (m_state)
        Panic("m_handle == NULL", "qpr::ProcessMutex::TryOpen");
    OwnedHandle handle(OpenMutexW(SYNCHRONIZE, FALSE, name.c_str()));
    if (!handle.IsValid())
    {
        if (GetLastError() == ERROR_FILE_NOT_FOUND)
            return false;
        ThrowSystemError(L"OpenMutex() failed", L"qpr::ProcessMutex::TryOpen");
    }
    m_state = std::make_unique<State>(std::move(handle));
    return true;
}

void ProcessMutex::Acquire(std::uint32_t timeoutMs)
{
    Thread::WaitForObject(
        {m_state->handle.Native(), WaitObject::Kind_AutoReset}, L"qpr::ProcessMutex::Acquire", timeoutMs);
}

void ProcessMutex::Release()
{
    if (!ReleaseMutex(m_state->handle.Value()))
        ThrowSystemError(L"ReleaseMutex() failed", L"qpr::ProcessMutex::Release");
}

bool ProcessMutex::HasName() const noexcept
{
    return true; // as long as anybody has it open
}

} // namespace qpr
