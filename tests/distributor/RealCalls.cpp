#include "distributor/RealCalls.h"

#include "client/ConversationExecutor.h"
#include "client/HybridServiceConnector.h"
#include "client/NetworkServiceConnector.h"
#include "config/Configuration.h"

#include <qxmi/IServiceConnectionW.h>

#include <cstdlib>
#include <iterator>
#include <regex>

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

/// Whether the text of a failed call says what happened.
bool IsClear(const std::string& notification)
{
    static const std::regex clear("error: (Error processing servant answer '.*': .+"
                                  "|Error sending service request to distributor at 127\\.0\\.0\\.1: .+"
                                  "|Expected 'establish log connection to port <log port>' but got '.*'"
                                  "|CreateProcess\\('.+'\\) failed in .+"
                                  "|WSA(Connect|Recv|Send)\\(\\) failed, Winsock error number = .+);");
    return std::regex_match(notification, clear);
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
    m_isCutShort = !m_isDone;
}

std::string EchoRequest::Complaint()
{
    const std::string text = Notifications();
    if (m_executions > 1)
        return "executed " + std::to_string(m_executions) + " times";
    if (m_isCutShort)
        return "a part of the answer was taken for all of it";
    if (text.empty() ? !m_isDone : text != "cancelled;" && !IsClear(text))
        return "ended with '" + text + "'";
    return {};
}

} // namespace test
