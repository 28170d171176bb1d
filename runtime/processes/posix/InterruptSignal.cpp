#include "runtime/processes/InterruptSignal.h"

#include "runtime/text/Errors.h"
#include "runtime/threads/SystemWait.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>

namespace qpr
{
namespace
{

constexpr std::array handledSignals = {SIGINT, SIGTERM, SIGHUP};

// Global, for the signal handler.
SystemHandle<"qpr::InterruptSignal::~InterruptSignal"> stopEvent;
std::array<struct sigaction, handledSignals.size()> previousActions;

extern "C" void SignalEvent(int)
{
    const int error = errno;
    static_cast<void>(SetSystemEvent(stopEvent.Get()));
    errno = error;
}

/// Whether the program was started with the signal ignored: to outlive the terminal (nohup), or an interrupt meant for
/// others (a shell that runs it in the background).
bool IsIgnored(int signal) noexcept
{
    struct sigaction action = {};
    return sigaction(signal, nullptr, &action) == 0 && action.sa_handler == SIG_IGN;
}

void Restore(std::size_t count) noexcept
{
    for (std::size_t index = 0; index < count; ++index)
        sigaction(handledSignals[index], &previousActions[index], nullptr);
}

} // namespace

InterruptSignal::InterruptSignal()
{
    stopEvent = decltype(stopEvent)(CreateSystemEvent(WaitObject::Kind_State));
    if (!stopEvent.IsValid())
        ThrowSystemError(L"CreateEvent() failed", L"qpr::InterruptSignal::InterruptSignal");
    struct sigaction action = {};
    action.sa_handler = &SignalEvent;
    action.sa_flags = SA_RESTART;
    for (std::size_t index = 0; index < handledSignals.size(); ++index)
    {
        const bool staysIgnored = IsIgnored(handledSignals[index]);
        if (sigaction(handledSignals[index], staysIgnored ? nullptr : &action, &previousActions[index]) == 0)
            continue;
        const std::uint32_t error = LastSystemError();
        Restore(index);
        ThrowSystemErrorWithNumber(L"sigaction() failed", L"qpr::InterruptSignal::InterruptSignal", error);
    }
}

InterruptSignal::~InterruptSignal()
{
    Restore(handledSignals.size());
    stopEvent = {};
}

WaitObject InterruptSignal::Object() const noexcept
{
    return WaitObject(stopEvent.Get(), WaitObject::Kind_State);
}

} // namespace qpr
