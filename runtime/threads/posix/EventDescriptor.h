#pragma once

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <sys/eventfd.h>
#include <unistd.h>

/// The eventfd under thread events, the ends of threads and interrupts: signalled while its counter is not 0. The
/// functions set errno.
namespace qpr
{

/// -1 when the system has none left.
inline int CreateEventDescriptor() noexcept
{
    return eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
}

/// What a thread wrote before it signalled is there for the thread whose wait this satisfied. The kernel sees to that,
/// but the language's memory model does not know of it unless both also meet in an atomic. Descriptors with the same
/// remainder share one, which orders more than needed and harms nothing.
inline constinit std::atomic<std::uint32_t> signalMeetingPoints[64];

inline void ReceiveThrough(int descriptor) noexcept
{
    static_cast<void>(signalMeetingPoints[static_cast<unsigned>(descriptor) % 64].load(std::memory_order_acquire));
}

/// False when the system refuses.
inline bool SignalEventDescriptor(int descriptor) noexcept
{
    signalMeetingPoints[static_cast<unsigned>(descriptor) % 64].fetch_add(1, std::memory_order_release);
    const std::uint64_t one = 1;
    return write(descriptor, &one, sizeof one) == sizeof one || errno == EAGAIN; // a full counter is signalled already
}

/// Takes the signal without waiting; false, with EAGAIN, when there was none. Datagram sockets, which serve as events
/// between processes, lose all that is queued. Requires: a descriptor that does not block.
inline bool TakeSignal(int descriptor) noexcept
{
    std::uint64_t signal = 0;
    for (bool taken = false;; taken = true)
    {
        const ssize_t size = read(descriptor, &signal, sizeof signal);
        if (size == sizeof signal) // a whole counter: nothing is left
            return true;
        if (size < 0)
            return taken;
    }
}

} // namespace qpr
