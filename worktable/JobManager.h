#pragma once

#include "runtime/Thread.h"
#include "worktable/WorkRecord.h"
#include "worktable/WorkTable.h"

#include <cstdint>
#include <memory>

namespace qxm
{

/// A connector's place in the work table: its row, the row's trigger event, and the thread that keeps the row alive.
/// Any thread may use it. The table outlives it.
class WorkTable::JobManager
{
public:
    class RowInWorkTable; ///< worktable/RowInWorkTable.h

    /// Claims the first free row. Throws "No row available in QxWorkTable for job manager", "Event '<name>' already
    /// exists" and what locking throws.
    explicit JobManager(WorkTable& table);

    /// Gives the row back.
    ~JobManager();

    JobManager(const JobManager&) = delete;
    JobManager& operator=(const JobManager&) = delete;

    /// The running work of all live job managers, this one included. Values that no honest owner writes (negative, not
    /// finite) count as 0, the number of jobs saturates. Throws "Work table corruption detected in ..." when another
    /// process has taken this one's row. Requires: a lock of the same table.
    Work SumActiveWork(Lock& lock) const;

    /// Whom a publication wakes.
    enum class Wake
    {
        All, ///< all live job managers, this one included
        Others, ///< for one whose owner knows that it has nothing to look for
    };

    /// Writes the record into the row and wakes the live job managers; when the row says so already, wakes nobody and
    /// returns false. Throws as SumActiveWork, the row untouched. Requires: a lock of the same table.
    bool Publish(Lock& lock, const WorkRecord& record, Wake wake = Wake::All);

    /// For a record that could not be published (the table was not to be had): the next heartbeat makes up for it,
    /// unless another one is published before.
    void PublishAtNextHeartbeat(const WorkRecord& record);

    /// Waits interruptibly until this or another process's work changed since the last wait. One thread waits.
    void WaitForTrigger(std::uint32_t timeoutMs = qpr::Infinite);

    /// Wakes this job manager alone.
    void SignalTrigger();

private:
    std::unique_ptr<RowInWorkTable> m_row;
    qpr::Thread m_heartbeat; // ends before the row that it runs
};

} // namespace qxm
