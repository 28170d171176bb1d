#include "worktable/WorkTableView.h"

#include "runtime/named/NamedObject.h"
#include "runtime/text/Errors.h"
#include "worktable/WorkSum.h"

namespace qxm
{

namespace
{

/// The objects of an existing table, opened to look at it.
struct OpenedTable
{
    explicit OpenedTable(const WorkTableNames& names)
    {
        if (mutex.TryOpen(names.Mutex()))
            segment = qpr::SharedMemorySegment::TryOpenReadOnly(names.Segment(), sizeof(layout::Table));
    }

    bool IsThere() const noexcept { return segment != nullptr; }

    /// As it is between two lock periods.
    layout::Table Copy(std::uint32_t timeoutMs)
    {
        layout::Table copy;
        AcquireTableMutex(mutex, timeoutMs);
        try
        {
            segment->Read(&copy, sizeof copy);
        }
        catch (...)
        {
            mutex.Release();
            throw;
        }
        mutex.Release();
        return copy;
    }

    qpr::ProcessMutex mutex;
    std::unique_ptr<const qpr::SharedMemorySegment> segment;
};

/// Connectors take the computer's table where it can be had.
bool IsGlobalThere(const WorkTableOptions& options)
{
    try
    {
        return OpenedTable(WorkTableNames(TableScope::Global, options.baseName)).IsThere();
    }
    catch (const qpr::RuntimeError&)
    {
        return false;
    }
}

bool HasLiveOwner(const WorkTableNames& names, std::size_t index)
{
    return qpr::ProcessEvent().TryOpen(names.Trigger(index));
}

} // namespace

WorkTableView LookAtWorkTable(const WorkTableOptions& options)
{
    WorkTableView view;
    view.isGlobal = IsGlobalThere(options);
    const WorkTableNames names(view.isGlobal ? TableScope::Global : TableScope::Local, options.baseName);
    OpenedTable opened(names);
    if (!opened.IsThere())
        return view;

    const layout::Table table = opened.Copy(options.lockTimeoutMs);
    view.now = options.clock();
    WorkSum total;
    for (std::size_t i = 0; i < layout::RowCount; ++i)
    {
        const layout::Row& row = table.rows[i];
        const bool isSeen = row.processId != 0 && row.lastSeenAlive > view.now - options.deadAfterSeconds;
        if (!isSeen || !HasLiveOwner(names, i))
            continue;
        view.rows.push_back({i, row.processId, row.lastSeenAlive, ToRecord(row)});
        total.Add(row.activeWork);
    }
    view.total = total.Total();
    return view;
}

WorkTablePlace LocateWorkTable(const WorkTableOptions& options)
{
    using qpr::NamedObjectKind;
    WorkTablePlace place;
    place.isGlobal = IsGlobalThere(options);
    const WorkTableNames names(place.isGlobal ? TableScope::Global : TableScope::Local, options.baseName);
    const auto look = [&place](const std::wstring& name, NamedObjectKind kind)
    {
        auto status = qpr::DescribeNamedObject(name, kind);
        if (!status.obstacle.empty())
            place.obstacles.push_back(std::move(status.obstacle));
        return status;
    };
    const auto mutex = look(names.Mutex(), NamedObjectKind::Mutex);
    const auto segment = look(names.Segment(), NamedObjectKind::Memory);
    place.location = segment.location;
    place.owner = segment.owner;
    place.exists = mutex.exists && segment.exists;
    for (std::size_t i = 0; i < layout::RowCount; ++i)
        look(names.Trigger(i), NamedObjectKind::Event);
    try
    {
        const OpenedTable opened(names);
    }
    catch (const qpr::RuntimeError& error)
    {
        place.obstacles.push_back(qpr::ErrorText(error));
    }
    return place;
}

} // namespace qxm
