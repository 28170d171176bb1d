#pragma once

#include "config/ExpectedUsage.h"
#include "config/ServiceInfo.h"
#include "runtime/threads/WaitObject.h"

#include <functional>
#include <optional>

namespace qxm
{
class ICallContext;
}

namespace QxClient
{

/// How calls are carried out: what a connector's rules leave to the conversations with servants and distributor, and
/// tests replace. Used by the threads of many calls at once.
class ICallExecutor
{
public:
    virtual ~ICallExecutor() = default;

    virtual void RunLocally(
        qxm::ICallContext& call, const qxm::LocalServiceInfo& service, const qxm::ExpectedUsage& usage) = 0;

    /// Places the request with the distributor, waits without limit of time until a servant is assigned, says so, and
    /// talks to the servant until the call is done. False when the object to give up for was signalled before that;
    /// nothing is left at the distributor then. With such an object the call could also run on this computer, and the
    /// network must not send it back here.
    virtual bool RunOnNetwork(qxm::ICallContext& call, std::optional<qpr::WaitObject> giveUpObject,
        const std::function<void()>& onServantAssigned) = 0;
};

} // namespace QxClient
