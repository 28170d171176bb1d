#include "runtime/threads/SystemWait.h"

#include "runtime/threads/Deadline.h"
#include "runtime/threads/posix/Descriptor.h"
#include "runtime/threads/posix/EventDescriptor.h"
#include "runtime/threads/posix/InterruptState.h"

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
constexpr std::uint32_t unlimited = std::numeric_limits<int>::max(); // as far as poll can count

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
    std::uint32_t longestTurnMs = unlimited;

    void Add(int descriptor, short events) noexcept { entries[count++] = {descriptor, events, 0}; }

    /// A longer time than one turn ends early.
    int Poll(std::uint32_t timeoutMs) noexcept
    {
        const bool isEndless = timeoutMs == Infinite && longestTurnMs == unlimited;
        return poll(entries.data(), count, isEndless ? -1 : static_cast<int>(std::min(timeoutMs, longestTurnMs)));
    }
};

/// Adds the thread's interrupt to its wait. Without a descriptor for it the wait is cut into turns instead.
void AddInterrupt(PollSet& set, InterruptState& interrupt) noexcept
{
    const int descriptor = interrupt.Descriptor();
    if (descriptor >= 0)
        set.Add(descriptor, POLLIN);
    else
        set.longestTurnMs = 100;
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
        AddInterrupt(set, *interrupt);

    for (const Deadline deadline(timeoutMs);;)
    {
        if (interrupt && interrupt->IsRequested())
            return {SystemWaitResult::Outcome_Woken};
        const int readyCount = set.Poll(deadline.LeftMs());
        if (readyCount < 0 && errno != EINTR)
            return {SystemWaitResult::Outcome_Failed, 0, static_cast<std::uint32_t>(errno)};
        if (readyCount > 0)
        {
            if (const auto ready = FirstReady(objects, set.entries.data()))
                return *ready;
            if (set.count > objects.size() && set.entries[objects.size()].revents != 0)
                interrupt->TakeWakeUp();
        }
        if (deadline.HasPassed())
            return {SystemWaitResult::Outcome_TimedOut};
    }
}

bool TakeInterrupt() noexcept
{
    InterruptState* const interrupt = currentThread.ActiveInterrupt();
    return interrupt && interrupt->Take();
}

bool PutOffInterrupts(bool putOff) noexcept
{
    return std::exchange(currentThread.putsOffInterrupts, putOff);
}

} // namespace qpr
