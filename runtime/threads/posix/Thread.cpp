#include "runtime/threads/Thread.h"

#include "runtime/text/Errors.h"
#include "runtime/text/Panic.h"
#include "runtime/threads/Deadline.h"
#include "runtime/threads/ThreadEvent.h"
#include "runtime/threads/posix/Descriptor.h"
#include "runtime/threads/posix/EventDescriptor.h"
#include "runtime/threads/posix/InterruptState.h"

#include <csignal>
#include <optional>
#include <pthread.h>

// A descriptor costs a good part of what a thread costs, so there is none for a thread's end: the thread that waits for
// it is woken through the descriptor of its own interrupts, and then joins.

namespace qpr
{
namespace
{

constexpr int nobody = -1;

/// What every thread starts with. The signals that a fault of the thread itself raises are not blocked: the system
/// would end the process at once, past the application's own handlers.
class ThreadAttributes
{
public:
    ThreadAttributes() noexcept
    {
        sigset_t blocked;
        sigfillset(&blocked);
        for (const int fault : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGTRAP, SIGSYS, SIGABRT})
            sigdelset(&blocked, fault);
        m_error = pthread_attr_init(&m_attributes);
        if (m_error == 0)
            m_error = pthread_attr_setsigmask_np(&m_attributes, &blocked);
    }

    int Start(pthread_t& thread, void* (*routine)(void*), void* argument) const noexcept
    {
        return m_error != 0 ? m_error : pthread_create(&thread, &m_attributes, routine, argument);
    }

private:
    pthread_attr_t m_attributes;
    int m_error;
};

} // namespace

struct Thread::State
{
    class EndWaiter;

    State(IRunnable& body, const char* threadName) noexcept
        : runnable(body)
        , name(threadName)
    {
    }

    static void* StartRoutine(void* argument) noexcept;
    void WaitForEnd(const wchar_t* location, std::uint32_t timeoutMs);
    void Join() noexcept;

    IRunnable& runnable;
    const char* const name;
    InterruptState interrupt;
    pthread_t thread{};
    bool joined = false; ///< the end has been observed
    std::atomic<bool> completed = false; ///< the runnable has returned
    std::atomic<int> endWaiter = nobody; ///< the event descriptor to signal once completed
};

/// Makes the current thread the one that is woken by the end.
class Thread::State::EndWaiter
{
public:
    explicit EndWaiter(State& state)
        : m_state(state)
    {
        if (InterruptState* const own = currentThread.ActiveInterrupt())
            m_descriptor = own->Descriptor();
        if (m_descriptor == nobody)
            m_descriptor = DescriptorOf(m_substitute.emplace(ThreadEvent::Kind_AutoReset).Object().Handle());
        m_state.endWaiter = m_descriptor;
    }

    /// An ending thread may have the descriptor in hand already: it goes first.
    ~EndWaiter()
    {
        m_state.endWaiter = nobody;
        if (m_state.completed)
            m_state.Join();
    }

    EndWaiter(const EndWaiter&) = delete;
    EndWaiter& operator=(const EndWaiter&) = delete;

    WaitObject Object() const noexcept { return {HandleOf(m_descriptor), WaitObject::Kind_AutoReset}; }

private:
    State& m_state;
    int m_descriptor = nobody;
    std::optional<ThreadEvent> m_substitute; ///< of a thread that cannot be interrupted now
};

void* Thread::State::StartRoutine(void* argument) noexcept
{
    State& state = *static_cast<State*>(argument);
    currentThread.interrupt = &state.interrupt;
    pthread_setname_np(pthread_self(), state.name);
    RunToEnd(state.runnable);
    state.completed = true;
    const int waiter = state.endWaiter;
    if (waiter != nobody)
        SignalEventDescriptor(waiter);
    return nullptr;
}

void Thread::State::WaitForEnd(const wchar_t* location, std::uint32_t timeoutMs)
{
    if (timeoutMs == Infinite && !currentThread.ActiveInterrupt())
        return Join(); // nothing else can end this wait
    const EndWaiter waiter(*this);
    for (const Deadline deadline(timeoutMs);
         !completed;) // the signal may be an interrupt's, which the next turn throws
        WaitForObject(waiter.Object(), location, deadline.LeftMs());
}

void Thread::State::Join() noexcept
{
    if (!joined && pthread_join(thread, nullptr) != 0)
        Panic("WaitForSingleObject(m_handle, INFINITE) == WAIT_OBJECT_0", "qpr::Thread::~Thread");
    joined = true;
}

Thread::Thread(IRunnable& runnable, const char* name)
    : m_state(std::make_unique<State>(runnable, name))
{
    static const ThreadAttributes attributes; // lasts as long as the process
    const int error = attributes.Start(m_state->thread, &State::StartRoutine, m_state.get());
    if (error != 0)
        ThrowSystemErrorWithNumber(
            L"CreateThread() failed", L"qpr::Thread::Thread", static_cast<std::uint32_t>(error), __LINE__);
}

Thread::~Thread()
{
    if (!m_state->completed)
        Interrupt();
    m_state->Join();
}

void Thread::Interrupt()
{
    m_state->interrupt.Request();
}

bool Thread::HasCompleted()
{
    CheckInterrupt();
    if (m_state->completed)
        m_state->Join();
    return m_state->joined;
}

void Thread::WaitForCompletion(std::uint32_t timeoutMs)
{
    CheckInterrupt();
    m_state->WaitForEnd(L"qpr::Thread::WaitForCompletion", timeoutMs);
}

} // namespace qpr
