#include "protocol/DistributorRequest.h"

#include "protocol/LogConnection.h"
#include "runtime/text/Errors.h"

#include <utility>

namespace qxm
{
namespace
{

constexpr std::uint32_t servantBufferSize = 65536;

/// Deliberately no std::exception, so that nothing on the way takes it for an error.
class GivenUp
{
};

} // namespace

DistributorRequest::DistributorRequest(std::wstring distributorHost, std::wstring distributorPort,
    DistributorServiceRequest request, Introductions& introductions, qpr::Wait wait,
    std::optional<qpr::WaitObject> giveUpObject)
    : m_distributorHost(std::move(distributorHost))
    , m_distributorPort(std::move(distributorPort))
    , m_request(std::move(request))
    , m_introductions(introductions)
    , m_wait(std::move(wait))
    , m_giveUpObject(giveUpObject)
{
}

bool DistributorRequest::WaitUntilReady()
{
    qpr::Wait wait = m_wait;
    wait.LookFirst();
    if (m_giveUpObject)
        wait.Or(*m_giveUpObject, []() -> std::uint32_t { throw GivenUp(); });
    try
    {
        Open(wait);
        return true;
    }
    catch (const GivenUp&)
    {
        m_mainSocket.Close();
        m_logSocket.Close();
        return false;
    }
}

void DistributorRequest::Open(const qpr::Wait& wait)
{
    const qpr::SocketAddress address =
        qpr::SocketAddress::Resolve(m_distributorHost, m_distributorPort, qpr::SocketAddress::Family::IPv4, wait);
    m_tellsServantEnd = SendServiceRequest(m_mainSocket, address, m_request, m_introductions, wait);
    OpenLogConnection(m_mainSocket, m_logSocket, wait);
    m_mainSocket.SetReceiveBufferSize(servantBufferSize);
    m_mainSocket.SetSendBufferSize(servantBufferSize);
    m_logSocket.SetReceiveBufferSize(servantBufferSize);
    m_logSocket.EnableKeepAlive();
}

} // namespace qxm
