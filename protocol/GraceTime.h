#pragma once

#include "runtime/WaitObject.h"

#include <cstdint>

namespace qpr
{
class Cancellation;
}

namespace qxm
{

/// How long a servant that is to stop may take for it, and a channel for its last data.
inline constexpr std::uint32_t graceTimeMs = 5000;

/// Waits for the object: without limit of time as long as nothing is cancelled, else, or when hurried from the start,
/// for the grace time. False when it is not signalled by then. Requires: the thread is not interruptible.
bool WaitWithGrace(const qpr::WaitObject& object, const qpr::Cancellation& cancellation, bool hurry,
    std::uint32_t graceMs = graceTimeMs);

} // namespace qxm
