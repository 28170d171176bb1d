#pragma once

#include "client/ServiceCallBase.h"

namespace QxClient
{

class ICallExecutor;
class NetworkServiceConnector;

/// A call that runs where the distributor finds a servant for it.
class NetworkServiceCall final : public ServiceCallBase
{
public:
    NetworkServiceCall(NetworkServiceConnector& connector, qxmi::IServiceRequestW& request, ICallExecutor& executor);

    CallNeeds Needs() const override { return {.canRunLocally = false, .mayGoToNetwork = true}; }

private:
    void CarryOut() override;

    NetworkServiceConnector& m_connector; // kept alive by the base
    ICallExecutor& m_executor; // the connector's
};

} // namespace QxClient
