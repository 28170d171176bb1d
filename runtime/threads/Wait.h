#pragma once

#include "runtime/threads/Deadline.h"
#include "runtime/threads/WaitObject.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>

namespace qpr
{

class Cancellation;

/// How an operation that may block waits: until when, what else is watched meanwhile, and what each of these means. A
/// small value, made once and copied into readers and writers; a const one may be used by several threads. A wait that
/// is ended early throws. An interrupt of the calling thread always counts.
///
///     Wait wait(cancellation);
///     wait.Until(Deadline(5000), L"The client took too long").Or(stop.Object(), [] { throw Stopped(); });
///     SocketReader reader(socket, wait);
class Wait
{
public:
    /// Without limit.
    Wait() noexcept = default;

    /// Also ended by a cancel, as Cancellation::ThrowIfCancelled says. Not owned; outlives the wait.
    Wait(const Cancellation& cancellation) noexcept // NOLINT(google-explicit-constructor): the usual one
        : m_cancellation(&cancellation)
    {
    }

    /// Ends with a RuntimeError of this text (a literal) at that moment: all operations together are bounded, however
    /// slowly they proceed. Without a text it ends with a TimeoutException.
    Wait& Until(const Deadline& deadline, const wchar_t* error = nullptr) noexcept;

    /// Called when a further object is signalled. It throws to end the wait, or returns for how many milliseconds the
    /// wait goes on without that object before it is called again. Any thread that waits may call it.
    using Meaning = std::function<std::uint32_t()>;

    /// Watches a further object; up to three. It outlives the wait, and waiting for it does not take its signal.
    Wait& Or(const WaitObject& object, Meaning meaning);

    /// Spins for a few dozen microseconds before it sleeps, and yields the processor to others meanwhile. For the lines
    /// of a conversation: a peer on the same computer answers sooner than a sleeping thread wakes.
    Wait& SpinFirst() noexcept;

    /// Throws when the wait is over, even if the operation would not block. Call it before each operation.
    void Check() const;

    /// Returns once the object is signalled, throws when something else ended the wait before. The location names the
    /// operation in messages.
    void For(const WaitObject& object, const wchar_t* location, int line = __builtin_LINE()) const;

private:
    static constexpr std::size_t maxFurtherCount = 3;

    struct Further
    {
        WaitObject object;
        Meaning meaning;
    };

    struct Watch;

    Watch Begin(const WaitObject& object, const wchar_t* location) const;
    Watch AskAll(Watch watch, const wchar_t* location) const;

    const Cancellation* m_cancellation = nullptr; // not owned
    Deadline m_deadline{Infinite};
    const wchar_t* m_lateError = nullptr;
    bool m_spinsFirst = false;
    std::size_t m_furtherCount = 0;
    std::array<Further, maxFurtherCount> m_further;
};

} // namespace qpr
