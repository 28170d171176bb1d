#include "runtime/text/Errors.h"
#include "runtime/text/Panic.h"
#include "runtime/threads/Deadline.h"
#include "runtime/threads/ThreadEvent.h"
#include "runtime/threads/ThreadState.h"

#include <csignal>
#include <optional>

// A thread has no descriptor for its end, because that would add a good part to what starting a thread costs: it wakes
// the thread that waits for it through the descriptor of that thread's own interrupts, and the waiter then joins.

namespace qpr
{
namespace
{

constexpr int nobody = -1;

/// What every thread starts with. The signals that a fault of the thread itself raises are not blocked: the system
/// would end the process at once instead of calling the application's handlers.
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

void Thread::State::Start()
{
    const auto routine = [](void* argument) noexcept -> void*
    {
        State& state = *static_cast<State*>(argument);
        pthread_setname_np(pthread_self(), state.name);
        state.Run();
        const int waiter = state.thread.endWaiter;
        if (waiter != nobody)
            SetSystemEvent(HandleOf(waiter));
        return nullptr;
    };
    static const ThreadAttributes attributes; // lasts as long as the process
    const int error = attributes.Start(thread.id, routine, this);
    if (error != 0)
        ThrowSystemErrorWithNumber(
            L"CreateThread() failed", L"qpr::Thread::Thread", static_cast<std::uint32_t>(error), __LINE__);
}

void Thread::State::Interrupt() noexcept
{
    interrupt.Request();
}

/// Makes the current thread the one that is woken by the end.
void Thread::State::WaitForEnd(const wchar_t* location, std::uint32_t timeoutMs)
{
    CheckInterrupt();
    InterruptState* const own = currentThread.ActiveInterrupt();
    if (timeoutMs == Infinite && !own)
        return Join(); // nothing else can end this wait

    std::optional<ThreadEvent> substitute; // for a thread that cannot be interrupted now
    int descriptor = own ? own->Descriptor() : nobody;
    if (descriptor == nobody)
        descriptor = DescriptorOf(substitute.emplace(ThreadEvent::Kind_AutoReset).Object().Handle());
    thread.endWaiter = descriptor;
    const struct Leave
    {
        /// Joins before the descriptor can go: the ending thread may be about to signal it.
        ~Leave()
        {
            state.thread.endWaiter = nobody;
            if (state.completed)
                state.Join();
        }

        State& state;
    } leave{*this};
    const Deadline deadline(timeoutMs);
    while (!completed) // a signal may also be that of an interrupt, which the next turn throws
        WaitForObject({HandleOf(descriptor), WaitObject::Kind_AutoReset}, location, deadline.LeftMs());
}

void Thread::State::Join() noexcept
{
    if (!joined && pthread_join(thread.id, nullptr) != 0)
        Panic("WaitForSingleObject(m_handle, INFINITE) == WAIT_OBJECT_0", "qpr::Thread::~Thread");
    joined = true;
}

} // namespace qpr
