#include "runtime/threads/SystemWait.h"

#include "runtime/text/Panic.h"
#include "runtime/threads/Deadline.h"
#include "runtime/threads/windows/ChannelEvent.h"
#include "runtime/threads/windows/InterruptState.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <new>
#include <utility>
#include <vector>

// A wait is one system call, alertable when the thread can be interrupted: an interrupt is an asynchronous procedure
// call. Sockets and the ends of pipes cannot be waited for directly: events stand for them (ChannelEvent.h).

namespace qpr
{

constinit thread_local CurrentThreadState currentThread;

namespace
{

using TestAlert = LONG(NTAPI*)();

/// Runs the current thread's pending asynchronous procedure calls.
void RunPendingCalls() noexcept
{
    static std::atomic<TestAlert> entryPoint = nullptr;
    TestAlert testAlert = entryPoint.load(std::memory_order_relaxed);
    if (!testAlert)
    {
        const FARPROC found = GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtTestAlert");
        testAlert = reinterpret_cast<TestAlert>(reinterpret_cast<void*>(found));
        TestAlert none = nullptr;
        entryPoint.compare_exchange_strong(none, testAlert);
    }
    testAlert();
}

/// The handles of one wait: those of objects that the system can wait for as they are, and events that stand for
/// channels.
class WaitSet
{
public:
    explicit WaitSet(std::span<const WaitObject> objects)
    {
        for (const WaitObject& object : objects)
            Add(object);
    }

    bool IsValid() const noexcept { return m_isValid; }

    DWORD Wait(std::uint32_t timeoutMs, bool alertable)
    {
        std::uint32_t turnMs = timeoutMs;
        for (ChannelEvent& channel : m_channels)
            turnMs = std::min(turnMs, channel.Look());
        return m_count == 1 ? WaitForSingleObjectEx(m_handles[0], turnMs, alertable)
                            : WaitForMultipleObjectsEx(m_count, m_handles.data(), FALSE, turnMs, alertable);
    }

    HANDLE operator[](std::size_t index) const noexcept { return m_handles[index]; }

private:
    void Add(const WaitObject& object)
    {
        m_isValid = m_isValid && object.Handle().IsValid();
        const bool isChannel =
            object.GetKind() != WaitObject::Kind_State && object.GetKind() != WaitObject::Kind_AutoReset;
        m_handles[m_count++] =
            isChannel && m_isValid ? m_channels.emplace_back(object).Handle() : SystemHandleOf(object.Handle());
    }

    std::array<HANDLE, MAXIMUM_WAIT_OBJECTS> m_handles;
    DWORD m_count = 0;
    bool m_isValid = true;
    std::vector<ChannelEvent> m_channels;
};

void ReleaseAbandoned(HANDLE mutex, std::size_t objectCount) noexcept
{
    if (ReleaseMutex(mutex))
        return;
    if (objectCount == 1)
        Panic("ReleaseMutex(objectHandle)", "qpr::Thread::WaitForObject");
    Panic("ReleaseMutex(objectHandles[result - WAIT_ABANDONED_0])", "qpr::Thread::WaitForAnyObject");
}

SystemWaitResult WaitForObjects(std::span<const WaitObject> objects, std::uint32_t timeoutMs)
{
    const auto objectCount = static_cast<DWORD>(objects.size());
    WaitSet set(objects);
    if (!set.IsValid())
        return {SystemWaitResult::Outcome_Failed, 0, ERROR_INVALID_HANDLE};
    for (const Deadline deadline(timeoutMs);;)
    {
        const DWORD result = set.Wait(deadline.LeftMs(), currentThread.IsInterruptible());
        if (result < WAIT_OBJECT_0 + objectCount)
            return {SystemWaitResult::Outcome_Signalled, static_cast<int>(result - WAIT_OBJECT_0), 0};
        if (result >= WAIT_ABANDONED_0 && result < WAIT_ABANDONED_0 + objectCount)
        {
            ReleaseAbandoned(set[result - WAIT_ABANDONED_0], objectCount);
            return {SystemWaitResult::Outcome_AbandonedMutex};
        }
        if (result == WAIT_IO_COMPLETION)
            return {SystemWaitResult::Outcome_Woken};
        if (result == WAIT_FAILED)
            return {SystemWaitResult::Outcome_Failed, 0, GetLastError()};
        if (deadline.HasPassed())
            return {SystemWaitResult::Outcome_TimedOut};
    }
}

} // namespace

SystemWaitResult WaitForSystemObjects(std::span<const WaitObject> objects, std::uint32_t timeoutMs) noexcept
{
    if (objects.empty())
    {
        const DWORD result = SleepEx(timeoutMs, currentThread.IsInterruptible());
        return {result == WAIT_IO_COMPLETION ? SystemWaitResult::Outcome_Woken : SystemWaitResult::Outcome_TimedOut};
    }
    try
    {
        return WaitForObjects(objects, timeoutMs);
    }
    catch (const std::bad_alloc&)
    {
        return {SystemWaitResult::Outcome_Failed, 0, ERROR_NOT_ENOUGH_MEMORY};
    }
}

bool TakeInterrupt() noexcept
{
    if (!currentThread.IsInterruptible())
        return false;
    RunPendingCalls();
    const bool isPending = (currentThread.interruptWord & CurrentThreadState::interruptPending) != 0;
    currentThread.interruptWord &= ~CurrentThreadState::interruptPending;
    return isPending;
}

bool PutOffInterrupts(bool putOff) noexcept
{
    const bool before = (currentThread.interruptWord & CurrentThreadState::notInterruptible) != 0;
    currentThread.interruptWord &= ~CurrentThreadState::notInterruptible;
    if (putOff)
        currentThread.interruptWord |= CurrentThreadState::notInterruptible;
    return before;
}

void InterruptState::Request(HANDLE thread) noexcept
{
    const auto noteInterrupt = [](ULONG_PTR) noexcept
    { currentThread.interruptWord |= CurrentThreadState::interruptPending; };
    if (!QueueUserAPC(noteInterrupt, thread, 0))
        return; // the thread has ended
    // A thread that has announced a call may not have entered it yet: then there is nothing to cancel so far.
    while (m_isInSynchronousCall && !CancelSynchronousIo(thread))
        ::Sleep(1);
}

InterruptState::SynchronousCall::SynchronousCall() noexcept
    : m_state(currentThread.IsInterruptible() ? currentThread.interrupt : nullptr)
{
    if (m_state)
        m_state->m_isInSynchronousCall = true;
}

InterruptState::SynchronousCall::~SynchronousCall()
{
    if (m_state)
        m_state->m_isInSynchronousCall = false;
}

bool CloseSystemHandle(NativeHandle handle) noexcept
{
    if (handle.IsValid())
        return CloseHandle(SystemHandleOf(handle));
    SetLastError(ERROR_INVALID_HANDLE); // the value also stands for this process, which can be closed without effect
    return false;
}

NativeHandle CreateSystemEvent(WaitObject::Kind kind) noexcept
{
    return NativeHandleOf(CreateEventW(nullptr, kind != WaitObject::Kind_AutoReset, FALSE, nullptr));
}

bool SetSystemEvent(NativeHandle event) noexcept
{
    return SetEvent(SystemHandleOf(event));
}

bool ResetSystemEvent(NativeHandle event) noexcept
{
    return ResetEvent(SystemHandleOf(event));
}

} // namespace qpr
