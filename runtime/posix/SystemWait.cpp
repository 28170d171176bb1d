#include "runtime/SystemWait.h"

#include "runtime/Thread.h"
#include "runtime/posix/Descriptor.h"
#include "runtime/posix/EventDescriptor.h"
#include "runtime/posix/InterruptState.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <limits>
#include <optional>
#include <poll.h>
#include <utility>

namespace qpr
{

constinit thread_local CurrentThreadState currentThread;

namespace
{

constexpr std::size_t maxDescriptorCount = 64 + 1; // the objects and the thread's interrupt

/// The time that is left of a wait, as poll wants it.
class Deadline
{
public:
    explicit Deadline(std::uint32_t timeoutMs) noexcept
        : m_timeoutMs(timeoutMs)
    {
        if (IsMoment())
            m_end = Clock::now() + std::chrono::milliseconds(timeoutMs);
    }

    /// -1: without limit.
    int LeftMs() const noexcept
    {
        if (!IsMoment())
            return m_timeoutMs == 0 ? 0 : -1;
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(m_end - Clock::now()).count();
        return static_cast<int>(std::clamp<long long>(left, 0, std::numeric_limits<int>::max()));
    }

    bool HasPassed() const noexcept { return LeftMs() == 0; }

private:
    using Clock = std::chrono::steady_clock;

    bool IsMoment() const noexcept { return m_timeoutMs != 0 && m_timeoutMs != Infinite; }

    std::uint32_t m_timeoutMs;
    Clock::time_point m_end;
};

short PollEventsOf(WaitObject::Kind kind) noexcept
{
    return kind == WaitObject::Kind_Writable ? POLLOUT : POLLIN;
}

/// Whether an object found ready satisfies the wait: of an auto-reset one another thread may have taken the signal.
bool TakeReady(const WaitObject& object) noexcept
{
    const int descriptor = DescriptorOf(object.Handle());
    if (object.GetKind() == WaitObject::Kind_AutoReset && !TakeSignal(descriptor))
        return false;
    ReceiveThrough(descriptor);
    return true;
}

/// The lowest object that poll reports and that is still there; none when others were faster.
std::optional<SystemWaitResult> FirstReady(std::span<const WaitObject> objects, const pollfd* entries) noexcept
{
    for (std::size_t i = 0; i < objects.size(); ++i)
    {
        if (entries[i].revents & POLLNVAL)
            return SystemWaitResult{SystemWaitResult::Outcome_Failed, 0, EBADF};
        if (entries[i].revents != 0 && TakeReady(objects[i]))
            return SystemWaitResult{SystemWaitResult::Outcome_Signalled, static_cast<int>(i), 0};
    }
    return std::nullopt;
}

/// The descriptors of one wait.
struct PollSet
{
    std::array<pollfd, maxDescriptorCount> entries;
    nfds_t count = 0;

    void Add(int descriptor, short events) noexcept { entries[count++] = {descriptor, events, 0}; }
};

/// Whether a wake-up by the interrupt descriptor is one: the signal of an interrupt that a check has taken meanwhile
/// stays behind, and goes here.
bool IsInterrupted(InterruptState& interrupt) noexcept
{
    TakeSignal(interrupt.descriptor);
    return interrupt.isPending.load(std::memory_order_acquire);
}

} // namespace

SystemWaitResult WaitForSystemObjects(std::span<const WaitObject> objects, std::uint32_t timeoutMs) noexcept
{
    // The usual wait is for one event, and often it is set: then a read is all it takes.
    if (objects.size() == 1 && objects[0].GetKind() == WaitObject::Kind_AutoReset && TakeReady(objects[0]))
        return {SystemWaitResult::Outcome_Signalled};

    InterruptState* const interrupt = currentThread.ActiveInterrupt();
    PollSet set;
    for (const WaitObject& object : objects)
    {
        if (!object.Handle().IsValid())
            return {SystemWaitResult::Outcome_Failed, 0, EBADF};
        set.Add(DescriptorOf(object.Handle()), PollEventsOf(object.GetKind()));
    }
    if (interrupt)
        set.Add(interrupt->descriptor, POLLIN);

    for (const Deadline deadline(timeoutMs);;)
    {
        const int readyCount = poll(set.entries.data(), set.count, deadline.LeftMs());
        if (readyCount < 0 && errno != EINTR)
            return {SystemWaitResult::Outcome_Failed, 0, static_cast<std::uint32_t>(errno)};
        if (readyCount > 0)
        {
            if (const auto ready = FirstReady(objects, set.entries.data()))
                return *ready;
            if (interrupt && set.entries[objects.size()].revents != 0 && IsInterrupted(*interrupt))
                return {SystemWaitResult::Outcome_Woken};
        }
        if (deadline.HasPassed())
            return {SystemWaitResult::Outcome_TimedOut};
    }
}

bool TakeInterrupt() noexcept
{
    InterruptState* const interrupt = currentThread.ActiveInterrupt();
    return interrupt && interrupt->isPending.load(std::memory_order_relaxed)
        && interrupt->isPending.exchange(false, std::memory_order_acquire);
}

bool PutOffInterrupts(bool putOff) noexcept
{
    return std::exchange(currentThread.putsOffInterrupts, putOff);
}

} // namespace qpr
