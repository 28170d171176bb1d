#pragma once

#include "config/ExpectedUsage.h"
#include "config/ServiceInfo.h"
#include "runtime/threads/WaitObject.h"

#include <memory>
#include <optional>

namespace qxm
{
class ICallContext;
}

namespace QxClient
{

/// One call's way over the network. Used by the call's thread.
class INetworkExecution
{
public:
    virtual ~INetworkExecution() = default;

    /// Places the request with the distributor and waits, without limit of time, until a servant is assigned. False
    /// when the object to give up for was signalled first; nothing is left at the distributor then. Throws when the
    /// request cannot be placed.
    virtual bool WaitUntilReady() = 0;

    /// Requires: ready. Talks to the servant until the call is done.
    virtual void CarryOut() = 0;
};

/// How calls are carried out: what a connector's rules leave to the conversations with servants and distributor, and
/// tests replace. Used by the threads of many calls at once.
class ICallExecutor
{
public:
    virtual ~ICallExecutor() = default;

    virtual void RunLocally(
        qxm::ICallContext& call, const qxm::LocalServiceInfo& service, const qxm::ExpectedUsage& usage) = 0;

    /// With an object to give up for, the call could also run on this computer, and the network must not send it back
    /// here.
    virtual std::unique_ptr<INetworkExecution> PrepareNetwork(
        qxm::ICallContext& call, std::optional<qpr::WaitObject> giveUpObject) = 0;
};

} // namespace QxClient
