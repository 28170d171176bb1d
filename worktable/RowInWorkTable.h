#pragma once

#include "runtime/IRunnable.h"
#include "runtime/Mutex.h"
#include "worktable/JobManager.h"

namespace qxm
{

/// A claimed row and its trigger event; running it keeps the row alive. Its methods are JobManager's.
class WorkTable::JobManager::RowInWorkTable final : public qpr::IRunnable
{
public:
    RowInWorkTable(WorkTable& table, std::uint32_t processId);

    /// Gives the row back. When the table is not to be had the others take it for a dead one's in time.
    ~RowInWorkTable() override;

    RowInWorkTable(const RowInWorkTable&) = delete;
    RowInWorkTable& operator=(const RowInWorkTable&) = delete;

    Work SumActiveWork(Lock& lock) const;
    bool Publish(Lock& lock, const WorkRecord& record, Wake wake = Wake::All);
    void PublishAtNextHeartbeat(const WorkRecord& record);
    qpr::ProcessEvent& Trigger() noexcept { return m_trigger; }

    /// A sign of life. Takes the own row back if it was reclaimed, makes it say what was last published, and reclaims
    /// the rows of the dead, since nobody else may look.
    void Heartbeat();

    void Run() override;

    /// A job manager that cannot keep its row would be taken for dead while it works: ends the process.
    void HandleError(const std::exception& error) override;

private:
    static layout::Row* Claim(WorkTable& table, std::uint32_t processId);
    bool IsOwn() const noexcept { return m_owner.row->processId == m_owner.processId; }
    WorkRecord Wanted();
    void Release() noexcept;

    WorkTable& m_table; // not owned
    RowOwner m_owner;
    qpr::ProcessEvent m_trigger;
    qpr::Mutex m_wantedMutex; // taken after the table
    WorkRecord m_wanted QX_GUARDED_BY(m_wantedMutex); // what the row is to say
};

} // namespace qxm
