#pragma once

#include "runtime/named/ProcessMutex.h"

#include <cstdint>

namespace qxm
{

/// Acquires a table's mutex, also after an owner that died holding it: rows are checked where they are read, so that a
/// half-written one harms nobody. Throws as ProcessMutex::Acquire otherwise; the limit begins anew after the first
/// dead owner, and only then.
void AcquireTableMutex(qpr::ProcessMutex& mutex, std::uint32_t timeoutMs);

} // namespace qxm
