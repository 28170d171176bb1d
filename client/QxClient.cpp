#include <qxmi/QxClient.h>

#include "client/ConnectorFactory.h"
#include "client/ProcessCall.h"

qxmi::IServiceConnectorW* qxmi::CreateServiceConnectorW(const std::string& configuration)
{
    auto connector = QxClient::MakeConnector(configuration);
    connector->AddRef();
    return connector.release();
}

qxmi::IProcessCall* qxmi::CallProcess(IProcessRequestW& request)
{
    auto call = std::make_unique<QxClient::ProcessCall>(request);
    call->AddRef();
    return call.release();
}
