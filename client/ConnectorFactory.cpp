#include "client/ConnectorFactory.h"

#include "client/ConversationExecutor.h"
#include "client/LocalComputer.h"
#include "client/ServiceConnectors.h"
#include "config/Configuration.h"
#include "config/LocalHost.h"

#include <stdexcept>

namespace QxClient
{

namespace
{

/// For the local and the hybrid connector, which differ in what they do with the same parts.
template <class Connector>
std::unique_ptr<ServiceConnectorBase> MakeForThisComputer(
    const qxm::ConnectorConfiguration& configuration, const qxm::HostDescription& host, const std::wstring& path)
{
    const qxm::Configuration file = ReadConfiguration(path, host);
    return std::make_unique<Connector>(configuration.settings,
        std::make_unique<LocalComputer>(file.services, host, configuration.localExecution),
        std::make_unique<ConversationExecutor>(host, configuration.settings.logServiceExecutionInfo, file.distributor));
}

std::unique_ptr<ServiceConnectorBase> MakeNetwork(
    const qxm::ConnectorConfiguration& configuration, const qxm::HostDescription& host, const std::wstring& path)
{
    return std::make_unique<NetworkServiceConnector>(configuration.settings,
        std::make_unique<ConversationExecutor>(
            host, configuration.settings.logServiceExecutionInfo, qxm::ReadDistributorSettings(path)));
}

} // namespace

std::unique_ptr<ServiceConnectorBase> MakeConnector(const std::string& configuration)
{
    return MakeConnector(qxm::ConnectorConfiguration::Parse(configuration));
}

std::unique_ptr<ServiceConnectorBase> MakeConnector(const qxm::ConnectorConfiguration& configuration)
{
    const qxm::HostDescription host = qxm::DescribeLocalHost(L"client");
    const std::wstring path = qxm::LocateConfigurationFile(configuration.settings.configurationPath);
    switch (configuration.kind)
    {
    case qxm::ConnectorKind::Local:
        return MakeForThisComputer<LocalServiceConnector>(configuration, host, path);
    case qxm::ConnectorKind::Network:
        return MakeNetwork(configuration, host, path);
    case qxm::ConnectorKind::Hybrid:
        return MakeForThisComputer<HybridServiceConnector>(configuration, host, path);
    }
    throw std::logic_error("QxClient::MakeConnector: Invalid connector kind");
}

} // namespace QxClient
