#pragma once

#include "runtime/text/Errors.h"
#include "runtime/threads/IRunnable.h"
#include "runtime/threads/WaitObject.h"

#include <cstdint>
#include <exception>
#include <memory>
#include <span>
#include <string>

namespace qpr
{

inline constexpr std::uint32_t Infinite = 0xFFFFFFFF;

/// A wait that ran out of time: "Timeout executing <location>".
class TimeoutException : public std::exception
{
public:
    explicit TimeoutException(std::wstring text);
    const char* what() const noexcept override { return m_utf8Text.c_str(); }
    const std::wstring& Text() const noexcept { return m_text; }

private:
    std::wstring m_text;
    std::string m_utf8Text;
};

/// The owner of a mutex ended without releasing it. The mutex is free again; the thread that gets this does not own it.
class AbandonedMutexError : public RuntimeError
{
public:
    using RuntimeError::RuntimeError;
};

/// Unwinds an interrupted thread up to its start routine. Deliberately no std::exception: nothing on the way handles it
/// as an error.
class InterruptException
{
};

/// A system thread that runs an IRunnable, and the waits that any thread blocks in. An interrupt takes effect only
/// inside these waits and checks, where it surfaces as InterruptException; a thread that Thread did not start is never
/// interrupted. A Thread object is used by one thread at a time, except for Interrupt, which any thread may call while
/// the object lives.
///
/// On Linux the thread starts with all signals blocked except those of its own faults (SIGSEGV and the like), so that
/// the application's signals go to the application's threads.
class Thread
{
public:
    /// Starts the thread at once. The runnable is not owned and outlives the thread. Debuggers and process viewers show
    /// the name: a literal of at most 15 characters. Throws "CreateThread() failed".
    explicit Thread(IRunnable& runnable, const char* name = "qx");

    /// Interrupts a runnable that has not completed and waits for the thread's end.
    ~Thread();

    Thread(const Thread&) = delete;
    Thread& operator=(const Thread&) = delete;

    void Interrupt();

    /// Whether the thread has ended.
    bool HasCompleted();

    /// Throws TimeoutException when the thread has not ended by then.
    void WaitForCompletion(std::uint32_t timeoutMs = Infinite);

    /// Throws InterruptException when the calling thread has been interrupted; cheap enough for inner loops.
    static void CheckInterrupt();

    static void Sleep(std::uint32_t milliseconds);

    /// Waits for the object; throws TimeoutException. The location names the waiting operation in every message.
    static void WaitForObject(const WaitObject& object, const wchar_t* location, std::uint32_t timeoutMs = Infinite,
        int line = __builtin_LINE());

    /// The same; false on a timeout.
    static bool TryWaitForObject(
        const WaitObject& object, const wchar_t* location, std::uint32_t timeoutMs, int line = __builtin_LINE());

    /// Waits for any of up to 64 objects: the index of the signalled one (the lowest of several).
    static int WaitForAnyObject(std::span<const WaitObject> objects, const wchar_t* location,
        std::uint32_t timeoutMs = Infinite, int line = __builtin_LINE());

    /// The same; -1 on a timeout.
    static int TryWaitForAnyObject(std::span<const WaitObject> objects, const wchar_t* location,
        std::uint32_t timeoutMs, int line = __builtin_LINE());

private:
    struct State;
    std::unique_ptr<State> m_state;
};

/// While it lives, the current thread cannot be interrupted; an interrupt requested meanwhile takes effect at the next
/// wait or check after it. Sections nest.
class NonInterruptibleSection
{
public:
    NonInterruptibleSection() noexcept;
    ~NonInterruptibleSection();
    NonInterruptibleSection(const NonInterruptibleSection&) = delete;
    NonInterruptibleSection& operator=(const NonInterruptibleSection&) = delete;

private:
    bool m_outer;
};

} // namespace qpr
