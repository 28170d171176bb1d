#include "runtime/InterruptSignal.h"

#include "runtime/Errors.h"
#include "runtime/Panic.h"
#include "runtime/posix/Descriptor.h"
#include "runtime/posix/EventDescriptor.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <unistd.h>

namespace qpr
{
namespace
{

constexpr std::array handledSignals = {SIGINT, SIGTERM};

// The handler has nothing but globals to work with.
int eventDescriptor = -1;
std::array<struct sigaction, handledSignals.size()> previousActions;

extern "C" void SignalEvent(int)
{
    const int error = errno;
    static_cast<void>(SignalEventDescriptor(eventDescriptor));
    errno = error;
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
        if (sigaction(handledSignals[index], &action, &previousActions[index]) == 0)
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
