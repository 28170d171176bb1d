#pragma once

#include "config/Configuration.h"
#include "config/ExpectedUsage.h"
#include "protocol/DistributorRequest.h"

#include <cstdint>
#include <string>
#include <vector>

namespace qxd
{

class CallJournal;
class IServantStarter;
class SlotQueue;

/// What all sessions of a distributor share; each part may be used by any thread and outlives the sessions.
struct SessionSurroundings
{
    const qxm::HostDescription& host; ///< the distributor's
    const qxm::ServicesMap& services; ///< sessions refer to them and take no references of their own
    std::uint32_t slotCount;
    SlotQueue& slots;
    IServantStarter& starter;
    CallJournal& journal;
};

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
