#pragma once

#include "worktable/WorkRecord.h"
#include "worktable/WorkTable.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace qxm
{

/// What the work table says at one moment, for people to look at.
struct WorkTableView
{
    struct Row
    {
        std::size_t index; ///< from 0
        std::uint32_t processId;
        std::int64_t lastSeenAlive; ///< seconds since 1970-01-01 UTC
        WorkRecord work; ///< as it stands in the table
    };

    bool isGlobal = false;
    std::int64_t now = 0; ///< by the clock that lastSeenAlive was written with
    std::vector<Row> rows; ///< those in use
    Work total; ///< running work of all of them, as admission counts it
};

/// Looks at the table that a connector would use. Changes, creates, reclaims and traces nothing; where there is no
/// table the view is empty. Throws what locking the table throws.
WorkTableView LookAtWorkTable(const WorkTableOptions& options = {});

} // namespace qxm
