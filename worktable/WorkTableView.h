#pragma once

#include "worktable/WorkSum.h"
#include "worktable/WorkTable.h"

#include <cstddef>
#include <cstdint>
#include <string>
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

/// Looks at the table that a connector would use. Changes, creates, frees and traces nothing; where there is no table
/// the view is empty. Throws what locking the table throws.
WorkTableView LookAtWorkTable(const WorkTableOptions& options = {});

/// Where the table is that a connector would use.
struct WorkTablePlace
{
    bool isGlobal = false;
    std::wstring location; ///< the segment's file, or its name where names are no files
    bool exists = false; ///< a table of this user's own is made by the first connector
    std::wstring owner; ///< empty while there is none, or where it is not known
    std::vector<std::wstring> obstacles; ///< what keeps connectors from the table or from rows of it, and what to do
};

/// Looks without changing or creating anything.
WorkTablePlace LocateWorkTable(const WorkTableOptions& options = {});

} // namespace qxm
