#pragma once

#include "client/RecordingRequest.h"
#include "distributor/RunningDistributor.h"

#include <qxmi/IServiceConnectorW.h>

#include <memory>
#include <string>

namespace test
{

struct ReleaseConnector
{
    void operator()(qxmi::IServiceConnectorW* connector) const { connector->Release(); }
};
using Connector = std::unique_ptr<qxmi::IServiceConnectorW, ReleaseConnector>;

constexpr unsigned processorsHere = 4;

/// Connectors of a computer called "here", to a distributor on loopback.
Connector MakeNetworkConnector(const std::wstring& distributorPort);

/// With the services of the file but "Remote", and a work table of the test's own.
Connector MakeHybridConnector(
    const std::wstring& configurationPath, const std::wstring& distributorPort, const std::wstring& tableName);

/// A number that makes a test longer, or go another way.
unsigned FromEnvironment(const char* name, unsigned otherwise);

/// Sends data to be echoed by the services "Work" and "Remote", after a line of theirs, and checks what comes back.
class EchoRequest final : public RecordingRequest
{
public:
    EchoRequest(const std::wstring& service, unsigned processors, std::string firstLine, std::size_t size)
        : RecordingRequest(service, {{L"P", std::to_wstring(processors)}})
        , m_firstLine(std::move(firstLine))
        , m_data(size, 'x')
    {
    }

    void Execute(qxmi::IServiceConnectionW& connection) override;
    std::string Complaint() override;

private:
    const std::string m_firstLine;
    const std::string m_data;
    int m_executions = 0;
    bool m_isDone = false;
};

} // namespace test
