#include "runtime/threads/Thread.h"

#include "runtime/text/Errors.h"
#include "runtime/text/Panic.h"
#include "runtime/threads/windows/Handle.h"
#include "runtime/threads/windows/InterruptState.h"

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

struct Thread::State
{
    explicit State(IRunnable& body) noexcept
        : runnable(body)
    {
    }

    static DWORD WINAPI StartRoutine(void* argument) noexcept;
    WaitObject EndObject() const noexcept { return {handle.Native(), WaitObject::Kind_State}; }
    void Join() noexcept;

    OwnedHandle handle;
    IRunnable& runnable;
    InterruptState interrupt;
    bool joined = false; ///< the end has been observed
    std::atomic<bool> completed = false; ///< the runnable has returned
};

DWORD WINAPI Thread::State::StartRoutine(void* argument) noexcept
{
    State& state = *static_cast<State*>(argument);
    currentThread.interrupt = &state.interrupt;
    RunToEnd(state.runnable);
    state.completed = true;
    return 0;
}

void Thread::State::Join() noexcept
{
    if (!joined && WaitForSingleObject(handle.Value(), INFINITE) != WAIT_OBJECT_0)
        Panic("WaitForSingleObject(m_handle, INFINITE) == WAIT_OBJECT_0", "qpr::Thread::~Thread");
    joined = true;
}

Thread::Thread(IRunnable& runnable, const char* name)
    : m_state(std::make_unique<State>(runnable))
{
    m_state->handle = OwnedHandle(CreateThread(nullptr, 0, &State::StartRoutine, m_state.get(), 0, nullptr));
    if (!m_state->handle.IsValid())
        ThrowSystemError(L"CreateThread() failed", L"qpr::Thread::Thread", __LINE__);
    SetThreadName(m_state->handle.Value(), name);
}

Thread::~Thread()
{
    if (!m_state->completed)
        Interrupt();
    m_state->Join();
    if (!m_state->handle.Close())
        Panic("CloseHandle(m_handle)", "qpr::Thread::~Thread");
}

void Thread::Interrupt()
{
    m_state->interrupt.Request(m_state->handle.Value());
}

bool Thread::HasCompleted()
{
    m_state->joined = TryWaitForObject(m_state->EndObject(), L"qpr::Thread::HasCompleted", 0) || m_state->joined;
    return m_state->joined;
}

void Thread::WaitForCompletion(std::uint32_t timeoutMs)
{
    WaitForObject(m_state->EndObject(), L"qpr::Thread::WaitForCompletion", timeoutMs);
    m_state->joined = true;
}

} // namespace qpr
