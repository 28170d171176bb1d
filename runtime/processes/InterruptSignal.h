#pragma once

#include "runtime/threads/WaitObject.h"

namespace qpr
{

/// While it lives, the user's wish that the program stops (an interrupt from the keyboard, a closed terminal or
/// console, a termination by the system) is a signalled object instead of the end of the process; once signalled it
/// stays so. One at a time. Programs that the process starts are not concerned.
///
/// On Linux these are SIGINT, SIGHUP and SIGTERM; one that the program was started with ignored (nohup, a shell's
/// background) stays ignored. On Windows a closed console and a logoff leave the process 5 s from the signal to the
/// destruction of the object, then the system ends it.
class InterruptSignal
{
public:
    /// Throws what the system refuses.
    InterruptSignal();
    ~InterruptSignal();
    InterruptSignal(const InterruptSignal&) = delete;
    InterruptSignal& operator=(const InterruptSignal&) = delete;

    /// The one of a program that listens from now on to the very end of its process: a further interrupt, while it
    /// winds down, cannot end it in another way.
    static const InterruptSignal& UntilExit()
    {
        static const auto* const signal = new InterruptSignal;
        return *signal;
    }

    WaitObject Object() const noexcept;
};

} // namespace qpr
