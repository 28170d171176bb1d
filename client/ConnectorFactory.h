#pragma once

#include "client/ServiceConnectorBase.h"
#include "config/ConnectorSettings.h"

#include <memory>
#include <string>

namespace QxClient
{

/// Makes the connector that a connector configuration string asks for: reads the configuration file, describes this
/// computer, starts the connector. Throws what any of it throws.
std::unique_ptr<ServiceConnectorBase> MakeConnector(const std::string& configuration);
std::unique_ptr<ServiceConnectorBase> MakeConnector(const qxm::ConnectorConfiguration& configuration);

} // namespace QxClient
