#pragma once

#include "tools/qx/LibraryObject.h"

#include <qxmi/IServiceConnectorW.h>

namespace qx
{

class ConnectorOptions;

/// Creates the connector that the options describe. Its configuration file is read first, so that every error about it
/// names the file.
LibraryObject<qxmi::IServiceConnectorW> CreateConnector(const ConnectorOptions& options);

} // namespace qx
