#include "worktable/RowInWorkTable.h"

#include "runtime/Errors.h"
#include "runtime/Panic.h"
#include "worktable/WorkSum.h"

#include <string>

namespace qxm
{

WorkTable::JobManager::RowInWorkTable::RowInWorkTable(WorkTable& table, std::uint32_t processId)
    : m_table(table)
    , m_owner{Claim(table, processId), processId}
{
    try
    {
        const std::size_t index = static_cast<std::size_t>(m_owner.row - table.Content().rows);
        m_trigger.Create(table.m_names.Trigger(index), table.m_security);
    }
    catch (...)
    {
        Release();
        throw;
    }
}

WorkTable::JobManager::RowInWorkTable::~RowInWorkTable()
{
    Release();
}

layout::Row* WorkTable::JobManager::RowInWorkTable::Claim(WorkTable& table, std::uint32_t processId)
{
    Lock lock(table);
    for (layout::Row& row : lock.Content().rows)
    {
        if (lock.IsInUse(row, nullptr))
            continue;
        row = {.processId = processId, .lastSeenAlive = lock.Now(), .activeWork = {}, .pendingWork = {}};
        return &row;
    }
    throw qpr::RuntimeError(L"No row available in QxWorkTable for job manager");
}

void WorkTable::JobManager::RowInWorkTable::Release() noexcept
{
    const qpr::NonInterruptibleSection section;
    try
    {
        const Lock lock(m_table);
        // Somebody else's by now, if this process was frozen for long.
        if (IsOwn() || m_owner.row->processId == 0)
            *m_owner.row = {};
        // Under the lock still: whoever claims the row next finds the event's name free.
        m_trigger.Close();
    }
    catch (const std::exception&)
    {
    }
}

Work WorkTable::JobManager::RowInWorkTable::SumActiveWork(Lock& lock) const
{
    WorkSum sum;
    for (layout::Row& row : lock.Content().rows)
    {
        if (lock.IsInUse(row, &m_owner))
            sum.Add(row.activeWork);
    }
    return sum.Total();
}

bool WorkTable::JobManager::RowInWorkTable::Publish(Lock& lock, const WorkRecord& record, Wake wake)
{
    lock.IsInUse(*m_owner.row, &m_owner); // throws before anything is written to a row that is no longer ours
    PublishAtNextHeartbeat(record);
    if (ToRecord(*m_owner.row) == record)
        return false;
    m_owner.row->activeWork = ToFields(record.active);
    m_owner.row->pendingWork = ToFields(record.pending);
    layout::Row(&rows)[layout::RowCount] = lock.Content().rows;
    for (std::size_t i = 0; i < layout::RowCount; ++i)
    {
        const bool isToWake = wake == Wake::All || &rows[i] != m_owner.row;
        if (isToWake && lock.IsInUse(rows[i], &m_owner))
            lock.SignalTrigger(i);
    }
    return true;
}

void WorkTable::JobManager::RowInWorkTable::PublishAtNextHeartbeat(const WorkRecord& record)
{
    const qpr::ScopedLock lock(m_wantedMutex);
    m_wanted = record;
}

WorkRecord WorkTable::JobManager::RowInWorkTable::Wanted()
{
    const qpr::ScopedLock lock(m_wantedMutex);
    return m_wanted;
}

void WorkTable::JobManager::RowInWorkTable::Heartbeat()
{
    Lock lock(m_table);
    if (m_owner.row->processId == 0)
        m_owner.row->processId = m_owner.processId;
    if (IsOwn())
    {
        m_owner.row->lastSeenAlive = lock.Now();
        Publish(lock, Wanted());
    }
    for (layout::Row& row : lock.Content().rows)
    {
        if (&row != m_owner.row)
            lock.IsInUse(row, nullptr);
    }
}

void WorkTable::JobManager::RowInWorkTable::Run()
{
    for (;;)
    {
        qpr::Thread::Sleep(m_table.Options().heartbeatMs);
        Heartbeat();
    }
}

void WorkTable::JobManager::RowInWorkTable::HandleError(const std::exception& error)
{
    qpr::PanicWithText(std::string("WorkTable::JobManager::RowInWorkTable::Run() failed:") + error.what());
}

} // namespace qxm
