#pragma once

#include "runtime/WaitObject.h"

namespace qpr
{

/// While it lives, the user's wish that the program stops (an interrupt from the keyboard, a termination by the system)
/// is a signalled object instead of the end of the process; once signalled it stays so. One at a time. Programs that
/// the process starts are not concerned.
class InterruptSignal
{
public:
    /// Throws what the system refuses.
    InterruptSignal();
    ~InterruptSignal();
    InterruptSignal(const InterruptSignal&) = delete;
    InterruptSignal& operator=(const InterruptSignal&) = delete;

    WaitObject Object() const noexcept;
};

} // namespace qpr
