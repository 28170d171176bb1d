#pragma once

#include "protocol/ServiceRequestAttributes.h"

#include <string>
#include <string_view>

namespace qxd
{

/// A client's request line, understood.
struct CallRequest
{
    std::wstring serviceName;
    qxm::ServiceRequestAttributes attributes;
    bool loopbackAllowed = true;
    bool logServiceExecutionInfo = false;
    bool servantEnd = false; ///< whether the log is to be followed by how the servant ended

    /// Throws a RuntimeError that says what is wrong with the line.
    static CallRequest Parse(std::wstring_view line);
};

} // namespace qxd
