#pragma once

#include "worktable/WorkTableLayout.h"

#include <cstdint>
#include <string>

namespace qxm
{

/// Appends to the trace file what one lock period (begun at now, seconds since 1970-01-01 UTC) changed. Other processes
/// may append to the same file. A file that cannot be written is left alone: tracing never disturbs the table.
void AppendWorkTableTrace(
    const std::wstring& path, std::int64_t now, const layout::Table& before, const layout::Table& after) noexcept;

} // namespace qxm
