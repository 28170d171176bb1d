#pragma once

#include "config/ExpectedUsage.h"
#include "config/HostDescription.h"
#include "config/ServiceInfo.h"
#include "protocol/ServiceRequestAttributes.h"
#include "runtime/processes/ProcessFigures.h"

#include <ostream>
#include <string>
#include <vector>

namespace qxm
{

/// Everything that is recorded of a call whose servant has ended.
struct ExecutionInfo
{
    const LocalServiceInfo& service;
    const ServiceRequestAttributes& attributes;
    const HostDescription& host; ///< of the program that started the servant
    std::wstring clientIdentifier; ///< whose call it is
    const std::vector<std::wstring>& servantCommandLine; ///< path, "execute", service name, named arguments
    const ExpectedUsage& expectedUsage;
    const qpr::ProcessFigures& figures;
};

/// Writes the record between "[ServiceExecutionInfo]" and "[/ServiceExecutionInfo]", a key=value line each, all ended
/// by carriage return and line feed. Does not flush.
void WriteExecutionInfoRecord(std::wostream& output, const ExecutionInfo& info);

} // namespace qxm
