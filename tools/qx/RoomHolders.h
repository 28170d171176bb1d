#pragma once

#include "worktable/WorkTableView.h"

#include <cstdint>
#include <optional>
#include <string>

namespace qx
{

/// "waiting for room on this computer; 3 calls of process 4711, 1 call of process 12 running", for the process
/// that waits; nothing when the table has no call of it that waits.
std::optional<std::string> DescribeWaiting(const qxm::WorkTableView& view, std::uint32_t ownProcessId);

/// The same about this process and the computer's table; nothing either when the table cannot be read.
std::optional<std::string> DescribeWaiting();

} // namespace qx
