#pragma once

#include "client/ConversationExecutor.h"
#include "client/LocalComputer.h"
#include "client/ServiceConnectors.h"
#include "config/Configuration.h"
#include "config/ConnectorSettings.h"
#include "config/LocalHost.h"
#include "runtime/processes/CurrentProcess.h"
#include "runtime/text/Utf8.h"

#include <qxmi/IServiceCall.h>
#include <qxmi/IServiceConnectorW.h>
#include <qxmi/IServiceRequestW.h>

#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <initializer_list>
#include <map>
#include <memory>
#include <string>
#include <type_traits>

/// What the benchmarks of whole calls stand on: a configuration of their own, connectors with a work table of their
/// own, so that nothing else on the computer takes part, and requests.
namespace bench
{

struct ReferenceDropper
{
    template <class T>
    void operator()(T* object) const
    {
        object->Release();
    }
};
using ConnectorPtr = std::unique_ptr<qxmi::IServiceConnectorW, ReferenceDropper>;
using CallPtr = std::unique_ptr<qxmi::IServiceCall, ReferenceDropper>;

/// A request whose conversation is a function; a call that ends with another error than the expected one ends the
/// benchmark.
class Request final : public qxmi::IServiceRequestW
{
public:
    using Conversation = std::function<void(qxmi::IServiceConnectionW&)>;

    explicit Request(std::wstring service, Conversation conversation = {}, std::string expectedError = {})
        : m_service(std::move(service))
        , m_conversation(std::move(conversation))
        , m_expectedError(std::move(expectedError))
    {
    }

    void GetServiceName(std::wstring& name) override { name = m_service; }
    void GetServiceRequestAttributes(std::map<std::wstring, std::wstring>& asked) override { asked = attributes; }
    void Execute(qxmi::IServiceConnectionW& connection) override
    {
        if (m_conversation)
            m_conversation(connection);
    }
    void OnCancelled() override { }
    void OnError(const std::exception& error) override
    {
        if (error.what() == m_expectedError)
            return;
        std::fprintf(stderr, "A call failed: %s\n", error.what());
        std::_Exit(1);
    }
    void WriteLog(const wchar_t*, std::size_t) override { }

    std::map<std::wstring, std::wstring> attributes; ///< of the calls that are created from now on

private:
    const std::wstring m_service;
    const Conversation m_conversation;
    const std::string m_expectedError; // empty: none
};

/// A program of this build.
inline std::filesystem::path ProgramPath(const char* name)
{
    return std::filesystem::canonical("/proc/self/exe").parent_path() / name;
}

/// A configuration file that offers services of one servant, a program of this build, and one more, Varied, whose calls
/// need what their attributes P and M say.
class Installation
{
public:
    Installation(
        const char* servant, std::initializer_list<const char*> services, const std::string& distributorPort = "1")
        : m_directory(std::filesystem::temp_directory_path()
            / ("qxbench-" + std::to_string(qpr::CurrentProcess::GetId()) + "-" + std::to_string(++counter)))
        , m_host(qxm::DescribeLocalHost(L"client"))
    {
        std::filesystem::create_directories(m_directory);
        std::ofstream file(m_directory / "QxConfiguration.xml");
        file << "<QxConfiguration><Distributor Host='127.0.0.1' ClientPort='" << distributorPort
             << "'/><Servants><Servant TargetPlatform='WinX64' RelativePath='"
             << std::filesystem::relative(ProgramPath(servant), m_directory).string() << "'><Services>";
        for (const char* service : services)
            file << "<Service Name='" << service << "'/>";
        file << "<Service Name='Varied'><ExpectedProcessorUsage>P</ExpectedProcessorUsage>"
                "<ExpectedMemoryUsageInMB>M</ExpectedMemoryUsageInMB></Service></Services></Servant></Servants></"
                "QxConfiguration>";
    }
    ~Installation()
    {
        std::filesystem::remove_all(m_directory);
        RemoveTables();
    }
    Installation(const Installation&) = delete;
    Installation& operator=(const Installation&) = delete;

    std::filesystem::path ConfigurationPath() const { return m_directory / "QxConfiguration.xml"; }

    /// A work table that nobody else has.
    static std::wstring NewTableName() { return TablePrefix() + std::to_wstring(++counter); }

    template <class Connector>
    ConnectorPtr MakeConnector(const qxm::ServiceConnectorSettings& settings = {},
        const qxm::LocalExecutionSettings& local = {}, const std::wstring& table = NewTableName()) const
    {
        const qxm::Configuration configuration = ReadConfiguration(ConfigurationPath().wstring(), m_host);
        auto executor = std::make_unique<QxClient::ConversationExecutor>(m_host, false, configuration.distributor);
        Connector* connector = nullptr;
        if constexpr (std::is_same_v<Connector, QxClient::NetworkServiceConnector>)
            connector = new Connector(settings, std::move(executor));
        else
            connector = new Connector(settings,
                std::make_unique<QxClient::LocalComputer>(configuration.services, m_host, local, TableNamed(table)),
                std::move(executor));
        connector->AddRef();
        return ConnectorPtr(connector);
    }

    static qxm::WorkTableOptions TableNamed(const std::wstring& name)
    {
        qxm::WorkTableOptions options;
        options.baseName = name;
        return options;
    }

private:
    static std::wstring TablePrefix() { return L"QxBench" + std::to_wstring(qpr::CurrentProcess::GetId()) + L"x"; }

    /// A table outlives its users.
    static void RemoveTables()
    {
        const std::string prefix = qpr::ToUtf8(TablePrefix());
        for (const auto& entry : std::filesystem::directory_iterator("/dev/shm"))
        {
            if (entry.path().filename().string().find(prefix) != std::string::npos)
                std::filesystem::remove(entry.path());
        }
    }

    static inline std::atomic<int> counter = 0;

    const std::filesystem::path m_directory;
    const qxm::HostDescription m_host;
};

} // namespace bench
