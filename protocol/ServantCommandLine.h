#pragma once

#include "config/ServiceInfo.h"
#include "protocol/CompressionMode.h"

#include <cstdint>
#include <string>
#include <vector>

namespace qxm
{

/// The arguments that a servant is started with to execute a call, its own path first. What its library is too old to
/// understand is left out. An empty client identifier is left out; 0 processors means that the number does not matter.
std::vector<std::wstring> BuildExecuteCommandLine(const LocalServiceInfo& service, const std::wstring& clientIdentifier,
    bool isLocal, std::uint32_t numberOfProcessorsToUse, CompressionMode compressionMode);

} // namespace qxm
