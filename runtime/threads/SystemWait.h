#pragma once

#include "runtime/threads/WaitObject.h"

#include <cstdint>
#include <span>

/// What the waits and events of all systems (Thread.cpp, ThreadEvent.cpp) ask of the operating system. For runtime/
/// itself.
namespace qpr
{

struct SystemWaitResult
{
    enum Outcome
    {
        Outcome_Signalled,
        Outcome_TimedOut,
        Outcome_Woken, ///< by an interrupt
        Outcome_AbandonedMutex, ///< released again already
        Outcome_Failed,
    };

    Outcome outcome;
    int index = 0; ///< of the signalled object
    std::uint32_t error = 0; ///< system error number of a failed wait
};

/// Waits for any of the objects, and for an interrupt if the current thread can be interrupted now. Without objects it
/// sleeps.
SystemWaitResult WaitForSystemObjects(std::span<const WaitObject> objects, std::uint32_t timeoutMs) noexcept;

/// Takes a request to interrupt the current thread. False when there is none, and while interrupts are put off.
bool TakeInterrupt() noexcept;

/// Puts off interrupts of the current thread, or stops that; returns what held before.
bool PutOffInterrupts(bool putOff) noexcept;

/// A new event, not signalled; invalid when the system has none left. A wait takes the signal of an auto-reset one.
NativeHandle CreateSystemEvent(WaitObject::Kind kind) noexcept;

/// Both are false, with the system's error number set, when the system refuses. A signal handler may set an event.
bool SetSystemEvent(NativeHandle event) noexcept;
bool ResetSystemEvent(NativeHandle event) noexcept;

} // namespace qpr
