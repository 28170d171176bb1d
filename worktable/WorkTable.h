#pragma once

#include "runtime/named/ProcessEvent.h"
#include "runtime/named/ProcessMutex.h"
#include "runtime/named/SharedMemorySegment.h"
#include "runtime/threads/Mutex.h"
#include "worktable/WorkTableLayout.h"
#include "worktable/WorkTableNames.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>

namespace qxm
{

/// What may differ between work tables; all programs of the framework agree on the defaults.
struct WorkTableOptions
{
    std::wstring baseName = DefaultWorkTableName;
    std::uint32_t lockTimeoutMs = 30000;
    std::uint32_t heartbeatMs = 10000;
    std::int64_t deadAfterSeconds = 31; ///< without a sign of life a row's owner counts as dead
    std::function<std::int64_t()> clock = SystemClockSeconds; ///< seconds since 1970-01-01 UTC; must not throw

    static std::int64_t SystemClockSeconds();
};

/// Acquires a table's mutex, also after an owner that died holding it: rows are checked where they are read, so that a
/// half-written one harms nobody. Throws as ProcessMutex::Acquire otherwise; the limit begins anew after the first
/// dead owner, and only then.
void AcquireTableMutex(qpr::ProcessMutex& mutex, std::uint32_t timeoutMs);

/// The shared table in which the job managers of all processes of this computer see each other's work. Each
/// connector has one object, shared by its threads; everything is done under a Lock.
class WorkTable
{
public:
    enum ScopeMode
    {
        ScopeMode_PreferExistingGlobal, ///< the computer's table if it can be had, else this user's own
        ScopeMode_CreateGlobal, ///< makes the computer's table; for a privileged process
    };

    class Lock;
    struct JobManager; ///< worktable/RowInWorkTable.h

    /// Opens the table, creating what is missing. Throws the errors of ProcessMutex and SharedMemorySegment.
    explicit WorkTable(ScopeMode mode, WorkTableOptions options = {});

    WorkTable(const WorkTable&) = delete;
    WorkTable& operator=(const WorkTable&) = delete;

    bool IsGlobal() const { return Current()->names.IsGlobal(); }
    const WorkTableOptions& Options() const noexcept { return m_options; }

private:
    /// The processes of all users share the table.
    struct Security : qpr::SecurityDescriptor
    {
        Security();
    };

    /// The table's objects. They are opened anew when somebody has removed their names.
    struct Objects
    {
        explicit Objects(WorkTableNames tableNames);

        bool HaveNames() const noexcept { return mutex.HasName() && segment->HasName(); }

        const WorkTableNames names;
        qpr::ProcessMutex mutex;
        std::unique_ptr<qpr::SharedMemorySegment> segment;
        std::int64_t namesSeenAt = 0; ///< looked for once a second at most; guarded by the mutex
    };

    std::shared_ptr<Objects> Open(ScopeMode mode) const;
    std::shared_ptr<Objects> MakeGlobal() const;
    std::shared_ptr<Objects> OpenGlobal() const; ///< null when it cannot be had
    std::shared_ptr<Objects> OpenLocal() const;

    std::shared_ptr<Objects> Current() const;
    void Replace(const std::shared_ptr<Objects>& nameless);

    const WorkTableOptions m_options;
    const Security m_security;
    const std::wstring m_traceLogPath; // empty: no trace
    mutable qpr::Mutex m_objectsMutex;
    std::shared_ptr<Objects> m_objects QX_GUARDED_BY(m_objectsMutex);
};

/// One period of exclusive access to the table, by one thread. Hold it briefly: while it lives, no process of the
/// computer admits a call. It works on a copy of the rows and writes each change through.
class WorkTable::Lock
{
public:
    /// Waits interruptibly; throws TimeoutException when the table is not free within the limit, and what opening and
    /// reading it throw. An owner that died holding the table is passed over. A table whose name was removed is left,
    /// within a second, for the one that has it now.
    explicit Lock(WorkTable& table);

    /// Writes the trace, if one is asked for, and lets go.
    ~Lock();

    Lock(const Lock&) = delete;
    Lock& operator=(const Lock&) = delete;

    std::int64_t Now() const noexcept { return m_now; }

    /// Equal for two locks of the same table; a table that has replaced another under its name has another.
    std::shared_ptr<const void> TableId() const noexcept { return m_objects; }

    const layout::Row& Row(std::size_t index) const noexcept { return m_content.rows[index]; }

    /// A row that changes its owner, or loses it, makes room: the lock's end tells all job managers.
    void Write(std::size_t index, const layout::Row& row);

    /// Whether the row counts, judged here alone by its last sign of life; frees the row of a dead owner.
    bool IsInUse(std::size_t index)
    {
        const layout::Row& row = m_content.rows[index];
        if (row.processId == 0)
            return false;
        if (row.lastSeenAlive > m_deadSince)
            return true;
        const auto leftover = TryCreateTrigger(index); // is removed again, unless the owner is only stopped
        Free(index);
        return false;
    }

    /// Wakes the job manager of a row that is in use; frees the row when nobody keeps its trigger.
    void Wake(std::size_t index) noexcept;

    /// Frees the row when nobody keeps its trigger: its owner is dead, whatever its time says.
    void FreeIfDead(std::size_t index);

    /// Null when somebody keeps the row's trigger.
    std::unique_ptr<qpr::ProcessEvent> TryCreateTrigger(std::size_t index) const;

    /// For the error of a caller that finds no row: what others have put in the place of triggers; usually empty.
    std::wstring TriggerObstacle() const;

private:
    void Free(std::size_t index);
    void AcquireObjects();
    void WakeAll() noexcept;
    void Release() noexcept;

    WorkTable& m_table;
    std::shared_ptr<Objects> m_objects;
    std::int64_t m_now = 0;
    std::int64_t m_deadSince = 0; // whoever was last seen then, or before, is dead
    bool m_hasMadeRoom = false;
    layout::Table m_content;
    layout::Table m_before; // as it was found; filled only for a trace
};

} // namespace qxm
