#include "client/NetworkServiceCall.h"

#include "client/ICallExecutor.h"
#include "client/NetworkServiceConnector.h"

namespace QxClient
{

NetworkServiceCall::NetworkServiceCall(
    NetworkServiceConnector& connector, qxmi::IServiceRequestW& request, ICallExecutor& executor)
    : ServiceCallBase(connector, request)
    , m_connector(connector)
    , m_executor(executor)
{
}

void NetworkServiceCall::CarryOut()
{
    const auto execution = m_executor.PrepareNetwork(*this, std::nullopt);
    execution->WaitUntilReady();
    m_connector.OnServantAssigned(*this);
    execution->CarryOut();
}

} // namespace QxClient
