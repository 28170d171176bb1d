#pragma once

#include "worktable/ProcessEvent.h"
#include "worktable/ProcessMutex.h"
#include "worktable/SharedMemorySegment.h"
#include "worktable/WorkTableLayout.h"
#include "worktable/WorkTableNames.h"

#include <cstdint>
#include <functional>
#include <string>

namespace qxm
{

/// What a work table may differ in; the defaults are what all programs of the framework agree on.
struct WorkTableOptions
{
    std::wstring baseName = DefaultWorkTableName;
    std::uint32_t lockTimeoutMs = 30000;
    std::uint32_t heartbeatMs = 10000;
    std::int64_t deadAfterSeconds = 31; ///< without a sign of life a row's owner counts as dead
    std::function<std::int64_t()> clock = SystemClockSeconds; ///< seconds since 1970-01-01 UTC; must not throw

    static std::int64_t SystemClockSeconds();
};

/// The shared table in which the job managers of all processes of this computer see each other's work. One object a
/// connector, shared by its threads; everything is done under a Lock.
class WorkTable
{
public:
    enum ScopeMode
    {
        ScopeMode_PreferExistingGlobal, ///< the computer's table if somebody has made one, else this user's own
        ScopeMode_CreateGlobal, ///< makes the computer's table; for a privileged process
    };

    class Lock;
    class JobManager; ///< worktable/JobManager.h

    /// Opens the table, creating what is missing. Throws the errors of ProcessMutex and SharedMemorySegment.
    explicit WorkTable(ScopeMode mode, WorkTableOptions options = {});

    WorkTable(const WorkTable&) = delete;
    WorkTable& operator=(const WorkTable&) = delete;

    bool IsGlobal() const noexcept { return m_names.IsGlobal(); }
    const WorkTableOptions& Options() const noexcept { return m_options; }

private:
    /// The processes of all users share the table.
    struct Security : qpr::SecurityDescriptor
    {
        Security();
    };

    WorkTableNames OpenMutex(ScopeMode mode);
    layout::Table& Content() noexcept { return *static_cast<layout::Table*>(m_segment.Address()); }

    WorkTableOptions m_options;
    Security m_security;
    qpr::ProcessMutex m_mutex;
    WorkTableNames m_names;
    qpr::SharedMemorySegment m_segment;
    qpr::ProcessEventGroup m_triggers; // used under the mutex
    std::wstring m_traceLogPath; // empty: no trace
};

/// Who asks whether a row is in use: a row's owner knows about its own without looking at the time.
struct RowOwner
{
    layout::Row* row;
    std::uint32_t processId;
};

/// One period of sole access to the table, by one thread. Hold it briefly: while it lives no process of the computer
/// admits a call. Its end wakes all job managers when a dead one's row was reclaimed in it, since there is room now.
class WorkTable::Lock
{
public:
    /// Waits interruptibly; throws TimeoutException when the table is not free within the limit. An owner that died
    /// holding the table is passed over.
    explicit Lock(WorkTable& table);

    /// Writes the trace, if one is asked for, and lets go.
    ~Lock();

    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

    std::int64_t Now() const noexcept { return m_now; }

    layout::Table& Content() noexcept { return m_content; }

    /// The one place that decides whether a row counts; reclaims the row of a dead owner, and the asker's own if it was
    /// reclaimed while nobody saw the asker. owner may be null. Throws "Work table corruption detected in ..." when the
    /// asker's own row belongs to another process.
    bool IsInUse(layout::Row& row, const RowOwner* owner)
    {
        if (owner != nullptr && &row == owner->row)
            return IsOwnInUse(*owner);
        if (row.processId == 0)
            return false;
        if (row.lastSeenAlive > m_deadSince)
            return true;
        row.processId = 0;
        m_hasReclaimed = true;
        return false;
    }

    /// Wakes the job manager of a row, if there is one.
    void SignalTrigger(std::size_t index) noexcept { m_table.m_triggers.Signal(index); }

private:
    static bool IsOwnInUse(const RowOwner& owner);
    void SignalLiveRows() noexcept;

    WorkTable& m_table;
    layout::Table& m_content;
    std::int64_t m_now;
    std::int64_t m_deadSince; // whoever was last seen then, or before, is dead
    bool m_hasReclaimed = false;
    layout::Table m_before; // as it was found; filled only for a trace
};

} // namespace qxm
