#pragma once

#include "client/FakeExecutor.h"
#include "client/LocalComputer.h"
#include "client/RecordingRequest.h"
#include "client/ServiceConnectors.h"
#include "worktable/TestTable.h"

#include <gtest/gtest.h>

#include <deque>
#include <memory>
#include <string>

namespace test
{

/// A computer of 4 processors and 4000 MB with a work table of its own and one service, "Work", whose calls need what
/// their attributes P and M say.
class ConnectorFixture : public testing::Test
{
protected:
    ~ConnectorFixture() override
    {
        for (qxmi::IServiceCall* call : m_calls)
            call->Release();
        for (qxmi::IServiceConnectorW* connector : m_connectors)
            connector->Release();
    }

    template <class Connector>
    Connector& MakeConnector(FakeExecutor*& executor)
    {
        auto fake = std::make_unique<FakeExecutor>();
        executor = fake.get();
        if constexpr (std::is_same_v<Connector, QxClient::NetworkServiceConnector>)
            return Own(new Connector(m_settings, std::move(fake)));
        else
            return Own(new Connector(m_settings,
                std::make_unique<QxClient::LocalComputer>(Services(), Host(), m_localSettings, TableOptions()),
                std::move(fake)));
    }

    /// A queued call; the request lives as long as the fixture.
    qxmi::IServiceCall* Call(qxmi::IServiceConnectorW& connector, const std::wstring& id,
        const std::wstring& processors, const std::wstring& memory, const std::wstring& service = L"Work")
    {
        m_requests.emplace_back(
            service, std::map<std::wstring, std::wstring>{{L"Id", id}, {L"P", processors}, {L"M", memory}});
        m_calls.push_back(connector.CreateServiceCall(m_requests.back()));
        return m_calls.back();
    }

    RecordingRequest& LastRequest() { return m_requests.back(); }
    RecordingRequest& Request(std::size_t index) { return m_requests[index]; }

    qxm::WorkTableOptions TableOptions() const { return test::OptionsOf(m_tableName); }

    static qxm::HostDescription Host()
    {
        qxm::HostDescription host;
        host.cpuCount = 4;
        host.memorySizeInMB = 4000;
        return host;
    }

    static qxm::ServicesMap Services()
    {
        auto servant = qpr::MakeCounted<qxm::ServantInfo>();
        servant->is32Bit = false;
        servant->addressSpaceInMB = 8388608;
        auto service = qpr::MakeCounted<qxm::LocalServiceInfo>(servant);
        service->name = L"Work";
        service->expectedProcessorUsage = L"P";
        service->expectedMemoryUsageInMB = L"M";
        qxm::ServicesMap services;
        services.emplace(L"Work", service);
        return services;
    }

    qxm::ServiceConnectorSettings m_settings;
    qxm::LocalExecutionSettings m_localSettings = WithoutExemption();

private:
    /// No call is too small to wait, so that the limits alone decide.
    static qxm::LocalExecutionSettings WithoutExemption()
    {
        qxm::LocalExecutionSettings settings;
        settings.maxRunningNoWaitCalls = 0;
        return settings;
    }

    template <class Connector>
    Connector& Own(Connector* connector)
    {
        connector->AddRef();
        m_connectors.push_back(connector);
        return *connector;
    }

    const UniqueName m_tableName;
    std::deque<RecordingRequest> m_requests;
    std::vector<qxmi::IServiceCall*> m_calls;
    std::vector<qxmi::IServiceConnectorW*> m_connectors;
};

} // namespace test
