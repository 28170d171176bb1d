#include "runtime/Thread.h"

#include "runtime/Errors.h"
#include "runtime/Panic.h"
#include "runtime/posix/Descriptor.h"
#include "runtime/posix/EventDescriptor.h"
#include "runtime/posix/InterruptState.h"

#include <cerrno>
#include <pthread.h>
#include <unistd.h>

namespace qpr
{

struct Thread::State
{
    explicit State(IRunnable& body) noexcept
        : runnable(body)
    {
    }
    ~State();
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    static void* StartRoutine(void* state) noexcept;
    bool CreateDescriptors() noexcept;

    IRunnable& runnable;
    InterruptState interrupt;
    int endDescriptor = -1; ///< signalled by the thread as the last thing it does
    pthread_t thread{};
    bool joined = false; ///< the end has been observed
    std::atomic<bool> completed = false; ///< the runnable has returned
};

Thread::State::~State()
{
    for (const int descriptor : {endDescriptor, interrupt.descriptor})
    {
        if (descriptor >= 0 && close(descriptor) != 0)
            Panic("CloseHandle(m_handle)", "qpr::Thread::~Thread");
    }
}

bool Thread::State::CreateDescriptors() noexcept
{
    interrupt.descriptor = CreateEventDescriptor();
    if (interrupt.descriptor < 0)
        return false;
    endDescriptor = CreateEventDescriptor();
    return endDescriptor >= 0;
}

void* Thread::State::StartRoutine(void* argument) noexcept
{
    State& state = *static_cast<State*>(argument);
    currentThread.interrupt = &state.interrupt;
    pthread_setname_np(pthread_self(), "QxThread");
    RunToEnd(state.runnable);
    state.completed.store(true, std::memory_order_release);
    SignalEventDescriptor(state.endDescriptor);
    return nullptr;
}

Thread::Thread(IRunnable& runnable)
    : m_state(std::make_unique<State>(runnable))
{
    if (!m_state->CreateDescriptors())
        ThrowSystemError(L"CreateThread() failed", L"qpr::Thread::Thread");
    const int error = pthread_create(&m_state->thread, nullptr, &State::StartRoutine, m_state.get());
    if (error != 0)
        ThrowSystemErrorWithNumber(
            L"CreateThread() failed", L"qpr::Thread::Thread", static_cast<std::uint32_t>(error), __LINE__);
}

Thread::~Thread()
{
    if (!m_state->completed.load(std::memory_order_acquire))
        Interrupt();
    if (pthread_join(m_state->thread, nullptr) != 0)
        Panic("WaitForSingleObject(m_handle, INFINITE) == WAIT_OBJECT_0", "qpr::Thread::~Thread");
}

void Thread::Interrupt()
{
    m_state->interrupt.isPending.store(true, std::memory_order_release);
    SignalEventDescriptor(m_state->interrupt.descriptor);
}

bool Thread::HasCompleted()
{
    if (!m_state->joined)
        m_state->joined = WaitForObject(
            {HandleOf(m_state->endDescriptor), WaitObject::Kind_State}, L"qpr::Thread::HasCompleted", 0, true);
    return m_state->joined;
}

void Thread::WaitForCompletion(std::uint32_t timeoutMs)
{
    WaitForObject(
        {HandleOf(m_state->endDescriptor), WaitObject::Kind_State}, L"qpr::Thread::WaitForCompletion", timeoutMs);
    m_state->joined = true;
}

} // namespace qpr
