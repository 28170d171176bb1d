#include "runtime/threads/Thread.h"

#include "runtime/text/Utf8.h"
#include "runtime/threads/SystemWait.h"
#include "runtime/threads/ThreadState.h"

#include <stdexcept>
#include <utility>

namespace qpr
{
namespace
{

/// What the systems can wait for at once.
constexpr std::size_t maxObjectCount = 64;

/// How the two kinds of wait name themselves in errors.
constexpr wchar_t waitForSingle[] = L"WaitForSingleObjectEx() failed";
constexpr wchar_t waitForMultiple[] = L"WaitForMultipleObjectsEx() failed";

constexpr int timeout = -1; // in place of an index

std::wstring Executing(std::wstring_view what, const wchar_t* location)
{
    return std::wstring(what) + L" executing " + location;
}

/// The index of the signalled object, or the timeout.
int WaitFor(std::span<const WaitObject> objects, const wchar_t* callFailed, const wchar_t* location,
    std::uint32_t timeoutMs, int line)
{
    Thread::CheckInterrupt();
    const SystemWaitResult result = WaitForSystemObjects(objects, timeoutMs);
    switch (result.outcome)
    {
    case SystemWaitResult::Outcome_Signalled:
        return result.index;
    case SystemWaitResult::Outcome_TimedOut:
        return timeout;
    case SystemWaitResult::Outcome_Woken:
        Thread::CheckInterrupt();
        throw RuntimeError(Executing(L"Spurious IO completion", location));
    case SystemWaitResult::Outcome_AbandonedMutex:
        throw AbandonedMutexError(Executing(L"Abandoned mutex encountered", location));
    case SystemWaitResult::Outcome_Failed:
        ThrowSystemErrorWithNumber(callFailed, location, result.error, line);
    }
    throw std::logic_error("qpr::Thread::WaitForObject: Invalid outcome");
}

} // namespace

TimeoutException::TimeoutException(std::wstring text)
    : m_text(std::move(text))
    , m_utf8Text(ToUtf8(m_text))
{
}

void Thread::State::Run() noexcept
{
    currentThread.interrupt = &interrupt;
    try
    {
        try
        {
            runnable.Run();
        }
        catch (const InterruptException&)
        {
        }
        catch (const std::exception& error)
        {
            runnable.HandleError(error);
        }
        catch (...)
        {
            runnable.HandleError(std::runtime_error("Unknown exception"));
        }
    }
    catch (...) // an error handler that is interrupted or fails ends only its own thread
    {
    }
    completed = true;
}

Thread::Thread(IRunnable& runnable, const char* name)
    : m_state(std::make_unique<State>(runnable, name))
{
    m_state->Start();
}

Thread::~Thread()
{
    if (!m_state->completed)
        Interrupt();
    m_state->Join();
}

void Thread::Interrupt()
{
    m_state->Interrupt();
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
    m_state->WaitForEnd(L"qpr::Thread::WaitForCompletion", timeoutMs);
}

void Thread::CheckInterrupt()
{
    if (TakeInterrupt())
        throw InterruptException();
}

void Thread::Sleep(std::uint32_t milliseconds)
{
    CheckInterrupt();
    if (WaitForSystemObjects({}, milliseconds).outcome == SystemWaitResult::Outcome_TimedOut)
        return;
    CheckInterrupt();
    throw RuntimeError(L"Spurious IO completion in qpr::Thread::Sleep");
}

void Thread::WaitForObject(const WaitObject& object, const wchar_t* location, std::uint32_t timeoutMs, int line)
{
    if (!TryWaitForObject(object, location, timeoutMs, line))
        throw TimeoutException(Executing(L"Timeout", location));
}

bool Thread::TryWaitForObject(const WaitObject& object, const wchar_t* location, std::uint32_t timeoutMs, int line)
{
    return WaitFor({&object, 1}, waitForSingle, location, timeoutMs, line) != timeout;
}

int Thread::WaitForAnyObject(
    std::span<const WaitObject> objects, const wchar_t* location, std::uint32_t timeoutMs, int line)
{
    const int signalled = TryWaitForAnyObject(objects, location, timeoutMs, line);
    if (signalled == timeout)
        throw TimeoutException(Executing(L"Timeout", location));
    return signalled;
}

int Thread::TryWaitForAnyObject(
    std::span<const WaitObject> objects, const wchar_t* location, std::uint32_t timeoutMs, int line)
{
    if (objects.empty() || objects.size() > maxObjectCount)
        throw std::logic_error("qpr::Thread::WaitForAnyObject: Invalid number of objects");
    return WaitFor(objects, waitForMultiple, location, timeoutMs, line);
}

NonInterruptibleSection::NonInterruptibleSection() noexcept
    : m_outer(PutOffInterrupts(true))
{
}

NonInterruptibleSection::~NonInterruptibleSection()
{
    PutOffInterrupts(m_outer);
}

} // namespace qpr
