#pragma once

#include "runtime/threads/Mutex.h"

namespace QxClient
{

/// The one lock under which the reference counts of connectors and calls change. Held for the change alone: objects are
/// destroyed outside it.
qpr::Mutex& FrameworkLock();

} // namespace QxClient
