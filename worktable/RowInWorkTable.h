#pragma once

#include "runtime/processes/CurrentProcess.h"
#include "runtime/threads/IRunnable.h"
#include "runtime/threads/Mutex.h"
#include "runtime/threads/Thread.h"
#include "worktable/WorkSum.h"
#include "worktable/WorkTable.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace qxm
{

/// Another process has taken this one's row and works with it.
class WorkTableCorruption : public qpr::RuntimeError
{
public:
    using RuntimeError::RuntimeError;
};

/// Who owns a row.
struct WorkTable::JobManager
{
    class RowInWorkTable;

    std::uint32_t processId;
    std::size_t row; ///< its index
};

/// A connector's place in the work table: its row, the row's trigger event, and the thread that keeps the row alive and
/// looks at the others. Where the table, the row or the event was lost to somebody who removed their names, the next
/// use of any kind takes a row of the table that has the name now. Any thread may use it. The table outlives it.
///
/// What takes a lock throws as locking does, "No row available in QxWorkTable for job manager", and
/// WorkTableCorruption: "Work table corruption detected in ...".
class WorkTable::JobManager::RowInWorkTable final : public qpr::IRunnable
{
public:
    /// Claims the first row whose trigger nobody keeps.
    explicit RowInWorkTable(WorkTable& table, std::uint32_t processId = qpr::CurrentProcess::GetId());

    /// Gives the row back. When the table cannot be locked, the others find the row without a trigger.
    ~RowInWorkTable() override;

    RowInWorkTable(const RowInWorkTable&) = delete;
    RowInWorkTable& operator=(const RowInWorkTable&) = delete;

    /// The running work of all live job managers, this one included. Implausible values in
    /// other rows do no harm: see WorkSum. Requires: a lock of the same table.
    Work SumActiveWork(Lock& lock);

    /// Whom a publication wakes.
    enum class Wake
    {
        All, ///< all live job managers, this one included
        Others, ///< all but this one, which has nothing to start
    };

    /// Writes the record into the row and wakes the live job managers; when the row says so already, wakes nobody and
    /// returns false. After an exception the row still stands for what was published before. Requires: a lock of the
    /// same table.
    bool Publish(Lock& lock, const WorkRecord& record, Wake wake = Wake::All);

    /// For a record that could not be published, because the table could not be locked: the next heartbeat makes up for
    /// it and for the wake-ups, unless another record is published before.
    void PublishAtNextHeartbeat(const WorkRecord& record);

    /// Whether calls wait for admission, by what was last published.
    bool HasPendingWork();

    /// Waits interruptibly until this or another process's work changed since the last wait. One thread waits. Throws
    /// TimeoutException.
    void WaitForTrigger(std::uint32_t timeoutMs = qpr::Infinite);

    /// Wakes this job manager alone.
    void SignalTrigger();

    /// A sign of life. Makes the row say what was last published, and frees the rows of dead owners: nobody else may be
    /// looking.
    void Heartbeat();

    /// The same for a caller that can do nothing about a failure: the next beat tries again.
    void TryHeartbeat();

    void Run() override;
    void HandleError(const std::exception& error) override;

private:
    void KeepRow(Lock& lock) QX_REQUIRES(m_mutex);
    void Claim(Lock& lock) QX_REQUIRES(m_mutex);
    void Write(Lock& lock, const WorkRecord& record, std::int64_t lastSeenAlive) QX_REQUIRES(m_mutex);
    bool PublishInRow(Lock& lock, const WorkRecord& record, Wake wake) QX_REQUIRES(m_mutex);
    std::shared_ptr<qpr::ProcessEvent> Trigger();
    void Release() noexcept;

    WorkTable& m_table; // not owned
    qpr::Mutex m_mutex; // taken after the table
    JobManager m_owner QX_GUARDED_BY(m_mutex);
    std::shared_ptr<const void> m_tableId QX_GUARDED_BY(m_mutex); // of the table that the row is in
    std::shared_ptr<qpr::ProcessEvent> m_trigger QX_GUARDED_BY(m_mutex); // kept also by who waits for it
    WorkRecord m_wanted QX_GUARDED_BY(m_mutex); // what the row is to say
    bool m_owesWakes QX_GUARDED_BY(m_mutex) = false; // for a record that could not be published
    std::unique_ptr<qpr::Thread> m_heartbeat; // ends before the row that it runs
};

} // namespace qxm
