#include "runtime/processes/InterruptSignal.h"

#include "runtime/text/Errors.h"
#include "runtime/threads/windows/Handle.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>

// The C library turns an interrupt from the keyboard into SIGINT and a break into SIGBREAK; its handlers run on a
// thread of the system's. The end of the console (its window is closed, the user logs off) needs a handler of our own,
// which must not return before the program has wound down: the system ends the process then.

namespace qpr
{
namespace
{

using Handler = void (*)(int);

constexpr std::array handledSignals = {SIGINT, SIGBREAK, SIGTERM};

constexpr DWORD windDownMs = 5000; // what the system itself grants when a console is closed

// Global, for the handlers, and never closed: a handler may still wait when the object is destroyed.
HANDLE stopEvent = nullptr;
HANDLE windDownEvent = nullptr; ///< signalled while there is no InterruptSignal
std::array<Handler, handledSignals.size()> previousHandlers;

void SignalEvent(int number)
{
    std::signal(number, &SignalEvent); // the library has reset it
    SetEvent(stopEvent);
}

BOOL WINAPI WindDown(DWORD controlType)
{
    if (controlType == CTRL_C_EVENT || controlType == CTRL_BREAK_EVENT)
        return FALSE; // the C library's handler comes next
    SetEvent(stopEvent);
    WaitForSingleObject(windDownEvent, windDownMs);
    return TRUE;
}

void Restore(std::size_t count) noexcept
{
    for (std::size_t index = 0; index < count; ++index)
        std::signal(handledSignals[index], previousHandlers[index]);
    SetEvent(windDownEvent); // first: the removal may wait for a handler that runs
    SetConsoleCtrlHandler(&WindDown, FALSE);
}

void MakeEvent(HANDLE& event)
{
    if (!event)
        event = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (!event)
        ThrowSystemError(L"CreateEvent() failed", L"qpr::InterruptSignal::InterruptSignal");
    ResetEvent(event);
}

} // namespace

InterruptSignal::InterruptSignal()
{
    MakeEvent(stopEvent);
    MakeEvent(windDownEvent);
    SetConsoleCtrlHandler(nullptr, FALSE); // Ctrl+C is off in a program that was started in a process group of its own
    for (std::size_t index = 0; index < handledSignals.size(); ++index)
    {
        previousHandlers[index] = std::signal(handledSignals[index], &SignalEvent);
        if (previousHandlers[index] == SIG_IGN)
            std::signal(handledSignals[index], SIG_IGN); // stays as the program was started
        if (previousHandlers[index] != SIG_ERR)
            continue;
        const std::uint32_t error = LastSystemError();
        Restore(index);
        ThrowSystemErrorWithNumber(L"signal() failed", L"qpr::InterruptSignal::InterruptSignal", error);
    }
    SetConsoleCtrlHandler(&WindDown, TRUE); // asked before all others; without a console it may fail
}

InterruptSignal::~InterruptSignal()
{
    Restore(handledSignals.size());
}

WaitObject InterruptSignal::Object() const noexcept
{
    return WaitObject(NativeHandleOf(stopEvent), WaitObject::Kind_State);
}

} // namespace qpr
