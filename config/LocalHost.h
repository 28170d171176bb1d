#pragma once

#include "config/HostDescription.h"

namespace qxm
{

/// Describes this process and what it may use of this computer, in a role. Any thread may call.
HostDescription DescribeLocalHost(const std::wstring& role);

} // namespace qxm
