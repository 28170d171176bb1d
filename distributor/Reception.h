#pragma once

#include "config/ExpectedUsage.h"
#include "distributor/SessionSurroundings.h"
#include "protocol/DistributorRequest.h"

#include <string>
#include <vector>

namespace qxd
{

/// A call that the distributor can accept: what the client asked for, and what it comes to here.
struct CallOrder
{
    const qxm::LocalServiceInfo& service;
    qxm::DistributorServiceRequest request;
    std::wstring clientIdentifier;
    qxm::ExpectedUsage expectedUsage;

    std::vector<std::wstring> ServantCommandLine() const;
};

/// Leads one client from its greeting to a request that can be accepted, all of it within a bounded time. Throws what
/// is wrong with the client or its request, after having told it.
CallOrder ReceiveCall(qpr::Socket& client, const SessionSurroundings& surroundings);

} // namespace qxd
