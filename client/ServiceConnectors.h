#pragma once

#include "client/ServiceConnectorBase.h"

#include <memory>

namespace QxClient
{

/// Runs every call on this computer, as soon as what all client processes run here leaves room for it. Small calls may
/// overtake large ones that wait for room.
class LocalServiceConnector final : public ServiceConnectorBase
{
public:
    LocalServiceConnector(const qxm::ServiceConnectorSettings& settings, std::unique_ptr<LocalComputer> computer,
        std::unique_ptr<ICallExecutor> executor);

    qxmi::IServiceCall* CreateServiceCall(qxmi::IServiceRequestW& request) override;
};

/// Sends every call to the distributor, in order of arrival, one at a time: the next one starts when the one before has
/// got its servant or has ended.
class NetworkServiceConnector final : public ServiceConnectorBase
{
public:
    NetworkServiceConnector(const qxm::ServiceConnectorSettings& settings, std::unique_ptr<ICallExecutor> executor);

    qxmi::IServiceCall* CreateServiceCall(qxmi::IServiceRequestW& request) override;
};

/// Runs a call on this computer when there is room, else sends it to the network, where one call at a time waits for a
/// servant; the waiting call comes back when room becomes free here first. Calls that this computer is too small for go
/// to the network at once; a call that the network failed stays here for good.
class HybridServiceConnector final : public ServiceConnectorBase
{
public:
    HybridServiceConnector(const qxm::ServiceConnectorSettings& settings, std::unique_ptr<LocalComputer> computer,
        std::unique_ptr<ICallExecutor> executor);

    qxmi::IServiceCall* CreateServiceCall(qxmi::IServiceRequestW& request) override;
};

} // namespace QxClient
