#include "distributor/Reception.h"

#include "config/Arguments.h"
#include "distributor/ClientConversation.h"
#include "protocol/ServantCommandLine.h"
#include "runtime/text/Errors.h"
#include "runtime/text/TextValues.h"

#include <algorithm>
#include <utility>

namespace qxd
{

std::vector<std::wstring> CallOrder::ServantCommandLine() const
{
    return qxm::BuildExecuteCommandLine(service, clientIdentifier, qxm::StartedBy::Distributor,
        expectedUsage.numberOfProcessorsToUse, qxm::ParseCompressionMode(service.compressionMode));
}

namespace
{

constexpr std::uint32_t receptionTimeMs = 5000; // programs talk here, and at once

bool NamedBool(const qxm::Arguments& arguments, const std::wstring& name, bool defaultValue)
{
    std::wstring text;
    return arguments.Named(name, text) ? qpr::ParseBool(text, name) : defaultValue;
}

/// The reverse of BuildServiceRequestLine.
qxm::DistributorServiceRequest ParseServiceRequestLine(std::wstring_view line)
{
    const qxm::Arguments arguments = qxm::Arguments::Parse(line);
    if (!arguments.PositionalArguments().empty() && arguments.Positional(0) != L"call")
        throw qpr::RuntimeError(L"Unknown command '" + arguments.Positional(0) + L"'");
    arguments.Validate(2, 2, L"Invalid call command",
        {L"WithLog", L"ServiceRequestAttributes", L"LoopbackToLocalMachine", L"LogServiceExecutionInfo",
            L"ServantEnd"});
    // The end of the log connection is how the distributor notices that a client has gone.
    if (!NamedBool(arguments, L"WithLog", false))
        throw qpr::RuntimeError(L"Invalid call command: WithLog=true is required");

    qxm::DistributorServiceRequest request;
    request.serviceName = arguments.Positional(1);
    std::wstring attributes;
    if (arguments.Named(L"ServiceRequestAttributes", attributes))
        request.attributes = qxm::ParseAttributes(attributes);
    request.loopbackAllowed = NamedBool(arguments, L"LoopbackToLocalMachine", true);
    request.logServiceExecutionInfo = NamedBool(arguments, L"LogServiceExecutionInfo", false);
    request.servantEnd = NamedBool(arguments, L"ServantEnd", false);
    return request;
}

bool IsSameHostName(const std::wstring& first, const std::wstring& second)
{
    const auto toLower = [](wchar_t character)
    { return character >= L'A' && character <= L'Z' ? static_cast<wchar_t>(character - L'A' + L'a') : character; };
    return std::ranges::equal(first, second, {}, toLower, toLower);
}

const qxm::LocalServiceInfo& FindService(const qxm::ServicesMap& services, const std::wstring& name)
{
    const auto found = services.find(name);
    if (found == services.end())
        throw qpr::RuntimeError(L"Service '" + name + L"' not available on distributor");
    return *found->second;
}

CallOrder Understand(
    const std::wstring& requestLine, const qxm::HostDescription& client, const SessionSurroundings& surroundings)
{
    qxm::DistributorServiceRequest request = ParseServiceRequestLine(requestLine);
    const qxm::LocalServiceInfo& service = FindService(surroundings.services, request.serviceName);
    const qxm::HostDescription& host = surroundings.host;
    if (!request.loopbackAllowed && IsSameHostName(client.hostName, host.hostName))
        throw qpr::RuntimeError(L"The call must not run on the client's own computer '" + client.hostName
            + L"', which is the distributor's too");
    const qxm::LocalLimits limits(host.cpuCount, host.memorySizeInMB, qxm::LocalExecutionSettings());
    const qxm::ExpectedUsage usage =
        qxm::ComputeExpectedUsage(service, request.attributes, limits, surroundings.slotCount);
    return {service, std::move(request), client.identifier, usage};
}

CallOrder TakeRequest(
    ClientConversation& conversation, const qxm::HostDescription& client, const SessionSurroundings& surroundings)
{
    try
    {
        CallOrder order = Understand(conversation.ReadRequestLine(), client, surroundings);
        if (conversation.HasMoreInput())
            throw qpr::RuntimeError(L"The client sent more than its request");
        return order;
    }
    catch (const std::exception& error)
    {
        conversation.WriteLine(qpr::ErrorText(error));
        conversation.Flush();
        throw;
    }
}

} // namespace

CallOrder ReceiveCall(qpr::Socket& client, const SessionSurroundings& surroundings)
{
    client.EnableKeepAlive();
    try
    {
        ClientConversation conversation(client, Within(receptionTimeMs).SpinFirst());
        const qxm::HostDescription description = conversation.LogIn();
        return TakeRequest(conversation, description, surroundings);
    }
    catch (const std::exception&)
    {
        PartFrom(client);
        throw;
    }
}

} // namespace qxd
