#include "protocol/DistributorRequest.h"

#include "protocol/LogConnection.h"
#include "runtime/Errors.h"

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
    const qpr::SocketAddress address = qpr::SocketAddress::Resolve(m_distributorHost, m_distributorPort);
    try
    {
        SendServiceRequest(m_mainSocket, address, m_request, m_introductions, wait);
        m_mainSocket.WaitForInput(wait);
    }
    catch (const GivenUp&)
    {
        m_mainSocket.Close();
        return false;
    }
    if (m_mainSocket.HasInputEnded())
        throw qpr::RuntimeError(L"Expected 'establish log connection to port <log port>' but got ''");
    return true;
}

void DistributorRequest::OpenLogConnection()
{
    qxm::OpenLogConnection(m_mainSocket, m_logSocket, m_wait);
    m_mainSocket.SetReceiveBufferSize(servantBufferSize);
    m_mainSocket.SetSendBufferSize(servantBufferSize);
    m_logSocket.SetReceiveBufferSize(servantBufferSize);
    m_logSocket.EnableKeepAlive();
}

} // namespace qxm
