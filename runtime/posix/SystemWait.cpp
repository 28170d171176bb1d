#include "runtime/SystemWait.h"

#include "runtime/Deadline.h"
#include "runtime/posix/Descriptor.h"
#include "runtime/posix/EventDescriptor.h"
#include "runtime/posix/InterruptState.h"

#include <algorithm>
#include <array>
#include <cerrno>
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

/// -1: without limit. A longer time than poll can take is waited for in several turns.
int PollTimeout(std::uint32_t leftMs) noexcept
{
    constexpr std::uint32_t longest = std::numeric_limits<int>::max();
    return leftMs == Infinite ? -1 : static_cast<int>(std::min(leftMs, longest));
}

short PollEventsOf(WaitObject::Kind kind) noexcept
{
    if (kind == WaitObject::Kind_PeerGone)
        return 0; // what poll always reports is all that counts
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
        const int readyCount = poll(set.entries.data(), set.count, PollTimeout(deadline.LeftMs()));
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
