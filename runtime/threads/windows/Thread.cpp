#include "runtime/text/Errors.h"
#include "runtime/text/Panic.h"
#include "runtime/threads/ThreadState.h"

#include <cstring>
#include <string>

namespace qpr
{

namespace
{

/// Systems before Windows 10 have no such names.
void SetThreadName(HANDLE thread, const char* name) noexcept
{
    using SetDescription = HRESULT(WINAPI*)(HANDLE, PCWSTR);
    static const auto setDescription = reinterpret_cast<SetDescription>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"kernel32.dll"), "SetThreadDescription")));
    if (setDescription)
        setDescription(thread, std::wstring(name, name + std::strlen(name)).c_str());
}

} // namespace

void Thread::State::Start()
{
    const LPTHREAD_START_ROUTINE routine = [](void* argument) noexcept -> DWORD
    {
        static_cast<State*>(argument)->Run();
        return 0;
    };
    thread = SystemThread(NativeHandleOf(CreateThread(nullptr, 0, routine, this, 0, nullptr)));
    if (!thread.IsValid())
        ThrowSystemError(L"CreateThread() failed", L"qpr::Thread::Thread", __LINE__);
    SetThreadName(SystemHandleOf(thread), name);
}

void Thread::State::Interrupt() noexcept
{
    interrupt.Request(SystemHandleOf(thread));
}

void Thread::State::WaitForEnd(const wchar_t* location, std::uint32_t timeoutMs)
{
    WaitForObject({thread.Get(), WaitObject::Kind_State}, location, timeoutMs);
    joined = true;
}

void Thread::State::Join() noexcept
{
    if (!joined && WaitForSingleObject(SystemHandleOf(thread), INFINITE) != WAIT_OBJECT_0)
        Panic("WaitForSingleObject(m_handle, INFINITE) == WAIT_OBJECT_0", "qpr::Thread::~Thread");
    joined = true;
}

} // namespace qpr
