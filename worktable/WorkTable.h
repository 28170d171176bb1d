#pragma once

#include "worktable/ProcessEvent.h"
#include "worktable/ProcessMutex.h"
#include "worktable/SharedMemorySegment.h"
#include "worktable/WorkTableLayout.h"

#include <cstdint>
#include <functional>
#include <string>

namespace qxm
{

/// What a work table may differ in; the defaults are what all programs of the framework agree on.
struct WorkTableOptions
{
    std::wstring baseName = L"QxWorkTable"; ///< of the mutex, the segment and the trigger events
    std::uint32_t lockTimeoutMs = 30000;
    std::uint32_t heartbeatMs = 10000;
    std::int64_t deadAfterSeconds = 31; ///< without a sign of life a row's owner counts as dead
    std::function<std::int64_t()> clock; ///< seconds since 1970-01-01 UTC; empty: the system's clock
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

    bool IsGlobal() const noexcept { return m_isGlobal; }
    const WorkTableOptions& Options() const noexcept { return m_options; }

private:
    void Acquire();
    layout::Table& Content() noexcept { return *static_cast<layout::Table*>(m_segment.Address()); }

    WorkTableOptions m_options;
    std::string m_traceLogPath; // empty: no trace
    qpr::SecurityDescriptor m_security;
    qpr::ProcessMutex m_mutex;
    bool m_isGlobal;
    qpr::SharedMemorySegment m_segment;
    qpr::ProcessEventGroup m_triggers;
};

/// One period of sole access to the table, by one thread. Hold it briefly: while it lives no process of the computer
/// admits a call. Whoever's row it finds dead is reclaimed; its end then wakes all others, since there is room now.
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

private:
    friend class JobManager;

    WorkTable& m_table;
    std::int64_t m_now;
    bool m_hasReclaimed = false;
    layout::Table m_before; // as it was found; filled only for a trace
};

} // namespace qxm
