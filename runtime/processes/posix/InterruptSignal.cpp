#include "runtime/processes/InterruptSignal.h"

#include "runtime/text/Errors.h"
#include "runtime/text/Panic.h"
#include "runtime/threads/posix/Descriptor.h"
#include "runtime/threads/posix/EventDescriptor.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <unistd.h>

namespace qpr
{
namespace
{

constexpr std::array handledSignals = {SIGINT, SIGTERM, SIGHUP};

// The handler has nothing but globals to work with.
int eventDescriptor = -1;
std::array<struct sigaction, handledSignals.size()> previousActions;

extern "C" void SignalEvent(int)
{
    const int error = errno;
    static_cast<void>(SignalEventDescriptor(eventDescriptor));
    errno = error;
}

/// Whoever started the program may have wanted it to outlive the terminal (nohup) or an interrupt meant for others (a
/// shell that runs it in the background).
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
    eventDescriptor = CreateEventDescriptor();
    if (eventDescriptor == -1)
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
        close(eventDescriptor);
        ThrowSystemErrorWithNumber(L"sigaction() failed", L"qpr::InterruptSignal::InterruptSignal", error);
    }
}

InterruptSignal::~InterruptSignal()
{
    Restore(handledSignals.size());
    if (close(eventDescriptor) != 0)
        Panic("CloseHandle(m_handle)", "qpr::InterruptSignal::~InterruptSignal");
}

WaitObject InterruptSignal::Object() const noexcept
{
    return WaitObject(HandleOf(eventDescriptor), WaitObject::Kind_State);
}

} // namespace qpr
