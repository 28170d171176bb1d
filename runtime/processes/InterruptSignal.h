#pragma once

#include "runtime/threads/WaitObject.h"

namespace qpr
{

/// While it lives, a request to stop the program (an interrupt from the keyboard, a closed terminal or console, a
/// termination by the system) signals an object instead of ending the process; once signalled, the object stays so. One
/// at a time. Programs that the process starts are not affected.
///
/// On Linux these are SIGINT, SIGHUP and SIGTERM; one that the program was started with ignored (nohup, a shell's
/// background) stays ignored. On Windows a closed console and a logoff leave the process 5 s from the signal to the
/// destruction of the object, then the system ends it.
class InterruptSignal
{
public:
    /// Throws when the system refuses.
    InterruptSignal();
    ~InterruptSignal();
    InterruptSignal(const InterruptSignal&) = delete;
    InterruptSignal& operator=(const InterruptSignal&) = delete;

    /// For a program that listens from now on until its process ends, so that a further interrupt cannot end it while
    /// it winds down.
    static const InterruptSignal& UntilExit()
    {
        static const auto* const signal = new InterruptSignal;
        return *signal;
    }

    WaitObject Object() const noexcept;
};

} // namespace qpr
