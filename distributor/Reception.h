#pragma once

#include "distributor/CallOrder.h"
#include "distributor/SessionSurroundings.h"
#include "runtime/Socket.h"

namespace qxd
{

/// Leads one client from its greeting to a request that can be accepted, all of it within a bounded time. Throws what
/// is wrong with the client or its request, after having told it.
CallOrder ReceiveCall(qpr::Socket& client, const SessionSurroundings& surroundings);

} // namespace qxd
