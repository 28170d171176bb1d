#include "worktable/WorkTableView.h"

#include "worktable/TableMutex.h"
#include "worktable/WorkSum.h"

namespace qxm
{

namespace
{

/// A copy of the table as it is between two lock periods.
layout::Table Copy(qpr::ProcessMutex& mutex, const qpr::SharedMemorySegment& segment, std::uint32_t timeoutMs)
{
    AcquireTableMutex(mutex, timeoutMs);
    const layout::Table copy = *static_cast<const layout::Table*>(segment.Address());
    mutex.Release();
    return copy;
}

} // namespace

WorkTableView LookAtWorkTable(const WorkTableOptions& options)
{
    WorkTableView view;
    qpr::ProcessMutex mutex;
    view.isGlobal = mutex.TryOpen(WorkTableNames(true, options.baseName).Mutex());
    const WorkTableNames names(view.isGlobal, options.baseName);
    if (!view.isGlobal && !mutex.TryOpen(names.Mutex()))
        return view;
    const auto segment = qpr::SharedMemorySegment::TryOpenReadOnly(names.Segment(), sizeof(layout::Table));
    if (!segment)
        return view;

    const layout::Table table = Copy(mutex, *segment, options.lockTimeoutMs);
    view.now = options.clock();
    WorkSum total;
    for (std::size_t i = 0; i < layout::RowCount; ++i)
    {
        const layout::Row& row = table.rows[i];
        if (row.processId == 0 || row.lastSeenAlive <= view.now - options.deadAfterSeconds)
            continue;
        view.rows.push_back({i, row.processId, row.lastSeenAlive, ToRecord(row)});
        total.Add(row.activeWork);
    }
    view.total = total.Total();
    return view;
}

} // namespace qxm
