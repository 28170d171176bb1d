#pragma once

#include "client/LocalExecutionConnector.h"

namespace QxClient
{

/// Runs every call on this computer, as soon as what all client processes run here leaves room for it. Small calls may
/// overtake large ones that wait for room.
class LocalServiceConnector final : public LocalExecutionConnector
{
public:
    LocalServiceConnector(const qxm::ServiceConnectorSettings& settings, std::unique_ptr<LocalComputer> computer,
        std::unique_ptr<ICallExecutor> executor);
    ~LocalServiceConnector() override;

    qxmi::IServiceCall* CreateServiceCall(qxmi::IServiceRequestW& request) override;

private:
    void HandleError(const std::exception& error) override;
    void MakePass() override QX_REQUIRES(m_lock);
    bool Leave(ServiceCallBase& call) override QX_REQUIRES(m_lock);
    qxm::WorkRecord Record() const override QX_REQUIRES(m_lock);
    bool HasWorkForStarter() const override QX_REQUIRES(m_lock);
};

} // namespace QxClient
