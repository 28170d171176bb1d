#include "tools/qx/Connector.h"

#include "client/ConnectorFactory.h"
#include "tools/qx/ConnectorOptions.h"

qx::LibraryObject<qxmi::IServiceConnectorW> qx::CreateConnector(const ConnectorOptions& options, Situation& situation)
{
    situation.connector = options.Connector();
    situation.configuration = ReadConfigurationOf(situation.connector);
    auto connector = QxClient::MakeConnector(situation.connector);
    connector->AddRef();
    return LibraryObject<qxmi::IServiceConnectorW>(connector.release());
}
