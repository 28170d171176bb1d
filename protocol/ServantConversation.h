#pragma once

#include "config/ExpectedUsage.h"
#include "config/HostDescription.h"
#include "config/ServiceInfo.h"

namespace qxm
{

class DistributorRequest;
class ICallContext;

/// The client as its servants are told of it, and what it wants recorded.
struct ConversationSettings
{
    const HostDescription& client;
    bool logServiceExecutionInfo = false;
};

/// Starts a servant of the service, hands the connection to the call and sees the servant end. On the call's thread,
/// one more forwards the log. What goes wrong once the servant runs is reported to the call; a servant that cannot be
/// started throws. However it goes, no process and no handle is left.
void RunLocalConversation(ICallContext& call, const LocalServiceInfo& service, const ExpectedUsage& usage,
    const ConversationSettings& settings);

/// The same over the connections of a distributor request that is ready, its log connection open.
void RunNetworkConversation(ICallContext& call, DistributorRequest& request, const ConversationSettings& settings);

} // namespace qxm
