#include "distributor/RealCalls.h"

#include "client/ConversationExecutor.h"
#include "client/ServiceConnectors.h"
#include "config/Configuration.h"

#include <qxmi/IServiceConnectionW.h>

#include <cstdlib>
#include <iterator>

namespace test
{
namespace
{

qxm::HostDescription Here()
{
    qxm::HostDescription host = HostNamed(L"client", L"here");
    host.cpuCount = processorsHere;
    host.memorySizeInMB = 1'000'000;
    return host;
}

std::unique_ptr<QxClient::ICallExecutor> MakeExecutor(const std::wstring& distributorPort)
{
    return std::make_unique<QxClient::ConversationExecutor>(
        Here(), false, qxm::DistributorSettings{L"127.0.0.1", distributorPort});
}

Connector Own(qxmi::IServiceConnectorW* connector)
{
    connector->AddRef();
    return Connector(connector);
}

} // namespace

Connector MakeNetworkConnector(const std::wstring& distributorPort)
{
    return Own(new QxClient::NetworkServiceConnector({}, MakeExecutor(distributorPort)));
}

Connector MakeHybridConnector(
    const std::wstring& configurationPath, const std::wstring& distributorPort, const std::wstring& tableName)
{
    qxm::ServicesMap services = qxm::ReadConfiguration(configurationPath, Here()).services;
    services.erase(L"Remote");
    qxm::LocalExecutionSettings settings;
    settings.maxRunningNoWaitCalls = 0; // the limits alone decide
    qxm::WorkTableOptions table;
    table.baseName = tableName;
    return Own(new QxClient::HybridServiceConnector({},
        std::make_unique<QxClient::LocalComputer>(std::move(services), Here(), settings, table),
        MakeExecutor(distributorPort)));
}

unsigned FromEnvironment(const char* name, unsigned otherwise)
{
    const char* const text = std::getenv(name);
    return text ? static_cast<unsigned>(std::stoul(text)) : otherwise;
}

void EchoRequest::Execute(qxmi::IServiceConnectionW& connection)
{
    ++m_executions;
    connection.OutputStream() << m_firstLine << '\n' << m_data;
    connection.CloseOutput();
    const std::string answer(std::istreambuf_iterator<char>(connection.InputStream()), {});
    m_isDone = answer == m_data;
}

std::string EchoRequest::Complaint()
{
    return m_isDone && m_executions == 1 && Notifications().empty() ? "" : "not done: " + Notifications();
}

} // namespace test
