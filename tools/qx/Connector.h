#pragma once

#include "tools/qx/Explanation.h"
#include "tools/qx/LibraryObject.h"

#include <qxmi/IServiceConnectorW.h>

namespace qx
{

class ConnectorOptions;

/// Creates the connector that the options describe. Its configuration file is read first, so that every error about it
/// names the file; what was read goes into the situation, for errors of the connector's calls.
LibraryObject<qxmi::IServiceConnectorW> CreateConnector(const ConnectorOptions& options, Situation& situation);

} // namespace qx
