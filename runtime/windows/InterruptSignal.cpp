#include "runtime/InterruptSignal.h"

#include "runtime/Errors.h"
#include "runtime/Panic.h"
#include "runtime/windows/Handle.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>

// The C library turns an interrupt from the keyboard into SIGINT, and all else that ends a console's programs (the
// window's close, the user's leaving) into SIGBREAK; its handlers run on a thread of the system's.
namespace qpr
{
namespace
{

using Handler = void (*)(int);

constexpr std::array handledSignals = {SIGINT, SIGBREAK, SIGTERM};

// The handler has nothing but globals to work with.
HANDLE stopEvent = nullptr;
std::array<Handler, handledSignals.size()> previousHandlers;

void SignalEvent(int number)
{
    std::signal(number, &SignalEvent); // the library has reset it
    SetEvent(stopEvent);
}

void Restore(std::size_t count) noexcept
{
    for (std::size_t index = 0; index < count; ++index)
        std::signal(handledSignals[index], previousHandlers[index]);
}

} // namespace

InterruptSignal::InterruptSignal()
{
    stopEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    if (!stopEvent)
        ThrowSystemError(L"CreateEvent() failed", L"qpr::InterruptSignal::InterruptSignal");
    SetConsoleCtrlHandler(nullptr, FALSE); // a process group of its own has come with Ctrl+C switched off
    for (std::size_t index = 0; index < handledSignals.size(); ++index)
    {
        previousHandlers[index] = std::signal(handledSignals[index], &SignalEvent);
        if (previousHandlers[index] != SIG_ERR)
            continue;
        const std::uint32_t error = LastSystemError();
        Restore(index);
        CloseHandle(stopEvent);
        ThrowSystemErrorWithNumber(L"signal() failed", L"qpr::InterruptSignal::InterruptSignal", error);
    }
}

InterruptSignal::~InterruptSignal()
{
    Restore(handledSignals.size());
    if (!CloseHandle(stopEvent))
        Panic("CloseHandle(m_handle)", "qpr::InterruptSignal::~InterruptSignal");
}

WaitObject InterruptSignal::Object() const noexcept
{
    return WaitObject(NativeHandleOf(stopEvent), WaitObject::Kind_State);
}

} // namespace qpr
