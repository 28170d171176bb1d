#include "distributor/Reception.h"

#include "distributor/CallRequest.h"
#include "distributor/ClientConversation.h"
#include "runtime/Errors.h"

#include <algorithm>

namespace qxd
{
namespace
{

constexpr std::uint32_t receptionTimeMs = 5000; // programs talk here, and at once

bool IsSameHostName(const std::wstring& first, const std::wstring& second)
{
    const auto toLower = [](wchar_t character)
    { return character >= L'A' && character <= L'Z' ? static_cast<wchar_t>(character - L'A' + L'a') : character; };
    return std::ranges::equal(first, second, {}, toLower, toLower);
}

qxm::ExpectedUsage ExpectedUsageOf(
    const OfferedService& service, const CallRequest& request, const SessionSurroundings& surroundings)
{
    const qxm::HostDescription& host = surroundings.host;
    const qxm::LocalLimits limits(host.cpuCount, host.memorySizeInMB, qxm::LocalExecutionSettings());
    return qxm::ComputeExpectedUsage(*service.info, request.attributes, limits, surroundings.slotCount);
}

CallOrder Understand(
    const std::wstring& requestLine, const qxm::HostDescription& client, const SessionSurroundings& surroundings)
{
    const CallRequest request = CallRequest::Parse(requestLine);
    const OfferedService& service = surroundings.catalogue.Find(request.serviceName);
    if (!request.loopbackAllowed && IsSameHostName(client.hostName, surroundings.host.hostName))
        throw qpr::RuntimeError(L"The call must not run on the client's own computer '" + client.hostName
            + L"', which is the distributor's too");
    return {service, request.attributes, client.identifier, ExpectedUsageOf(service, request, surroundings),
        request.logServiceExecutionInfo, request.servantEnd};
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
        ClientConversation conversation(client, Within(receptionTimeMs).LookFirst());
        const qxm::HostDescription description = conversation.LogIn(surroundings.clients);
        return TakeRequest(conversation, description, surroundings);
    }
    catch (const std::exception&)
    {
        PartFrom(client);
        throw;
    }
}

} // namespace qxd
