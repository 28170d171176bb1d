#pragma once

#include "runtime/threads/WaitObject.h"

#include <cstdint>
#include <span>

/// What the rules that all waits share (Thread.cpp) ask of the operating system. For runtime/ itself.
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

/// Waits for any of the objects, and for an interrupt when the current thread can be interrupted now. Without objects
/// it sleeps.
SystemWaitResult WaitForSystemObjects(std::span<const WaitObject> objects, std::uint32_t timeoutMs) noexcept;

/// Whether the current thread is to be interrupted now; takes the request.
bool TakeInterrupt() noexcept;

/// Whether interrupts of the current thread are put off; returns what held before.
bool PutOffInterrupts(bool putOff) noexcept;

} // namespace qpr
