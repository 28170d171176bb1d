#pragma once

#include "config/ServiceInfo.h"
#include "protocol/CompressionMode.h"

#include <cstdint>
#include <string>
#include <vector>

namespace qxm
{

/// Who starts a servant.
enum class StartedBy
{
    Client, ///< on its own computer
    Distributor,
};

/// The arguments that a servant is started with to execute a call, its own path first. What its library is too old to
/// understand is left out. An empty client identifier is left out; 0 processors means that the number does not matter.
std::vector<std::wstring> BuildExecuteCommandLine(const LocalServiceInfo& service, const std::wstring& clientIdentifier,
    StartedBy starter, std::uint32_t numberOfProcessorsToUse, CompressionMode compressionMode);

} // namespace qxm
