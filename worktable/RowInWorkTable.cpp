#include "worktable/RowInWorkTable.h"

#include "runtime/text/Panic.h"
#include "worktable/WorkSum.h"

#include <string>
#include <utility>

namespace qxm
{

using RowInWorkTable = WorkTable::JobManager::RowInWorkTable;

RowInWorkTable::RowInWorkTable(WorkTable& table, std::uint32_t processId)
    : m_table(table)
    , m_owner{processId, 0}
{
    {
        Lock lock(m_table);
        const qpr::ScopedLock state(m_mutex);
        Claim(lock);
    }
    try
    {
        m_heartbeat = std::make_unique<qpr::Thread>(*this, "qx heartbeat");
    }
    catch (...)
    {
        Release();
        throw;
    }
}

RowInWorkTable::~RowInWorkTable()
{
    m_heartbeat.reset();
    Release();
}

/// The trigger decides, not what the rows say: a row whose owner keeps its trigger is left alone, even when the owner
/// has not been seen for long.
void RowInWorkTable::Claim(Lock& lock)
{
    for (std::size_t i = 0; i < layout::RowCount; ++i)
    {
        std::shared_ptr<qpr::ProcessEvent> trigger = lock.TryCreateTrigger(i);
        if (!trigger)
            continue;
        const std::size_t before = std::exchange(m_owner.row, i);
        try
        {
            Write(lock, m_wanted, lock.Now());
        }
        catch (...)
        {
            m_owner.row = before;
            throw;
        }
        m_tableId = lock.TableId();
        m_trigger.swap(trigger);
        if (trigger)
            trigger->Signal(); // who waits for it is to wait for the new one
        return;
    }
    throw qpr::RuntimeError(L"No row available in QxWorkTable for job manager" + lock.TriggerObstacle());
}

/// Makes sure that the row is this job manager's.
void RowInWorkTable::KeepRow(Lock& lock)
{
    if (m_tableId != lock.TableId())
        return Claim(lock);
    const std::uint32_t processId = lock.Row(m_owner.row).processId;
    if (processId == m_owner.processId)
        return;
    if (!m_trigger->HasName()) // so the row was taken for a dead owner's
        return Claim(lock);
    if (processId != 0)
        throw WorkTableCorruption(L"Work table corruption detected in qxm::JobManagerRow::InUse: process id "
            + std::to_wstring(processId) + L" does not match expected process id "
            + std::to_wstring(m_owner.processId));
    Write(lock, m_wanted, lock.Now()); // freed because this process did not move for long
}

void RowInWorkTable::Write(Lock& lock, const WorkRecord& record, std::int64_t lastSeenAlive)
{
    lock.Write(m_owner.row,
        {.processId = m_owner.processId,
            .lastSeenAlive = lastSeenAlive,
            .activeWork = ToFields(record.active),
            .pendingWork = ToFields(record.pending)});
}

void RowInWorkTable::Release() noexcept
{
    const qpr::NonInterruptibleSection section;
    try
    {
        Lock lock(m_table);
        const qpr::ScopedLock state(m_mutex);
        if (m_tableId == lock.TableId() && lock.Row(m_owner.row).processId == m_owner.processId)
            lock.Write(m_owner.row, {});
        m_trigger->Close(); // under the lock still: whoever claims the row next finds the event's name free
    }
    catch (const std::exception&)
    {
    }
}

Work RowInWorkTable::SumActiveWork(Lock& lock)
{
    const qpr::ScopedLock state(m_mutex);
    KeepRow(lock);
    WorkSum sum;
    for (std::size_t i = 0; i < layout::RowCount; ++i)
    {
        if (i == m_owner.row || lock.IsInUse(i))
            sum.Add(lock.Row(i).activeWork);
    }
    return sum.Total();
}

bool RowInWorkTable::Publish(Lock& lock, const WorkRecord& record, Wake wake)
{
    const qpr::ScopedLock state(m_mutex);
    KeepRow(lock);
    return PublishInRow(lock, record, wake);
}

bool RowInWorkTable::PublishInRow(Lock& lock, const WorkRecord& record, Wake wake)
{
    const bool isChange = ToRecord(lock.Row(m_owner.row)) != record;
    if (isChange)
        Write(lock, record, lock.Row(m_owner.row).lastSeenAlive);
    m_wanted = record;
    if (!isChange && !m_owesWakes)
        return false;
    m_owesWakes = false;
    for (std::size_t i = 0; i < layout::RowCount; ++i)
    {
        if (i != m_owner.row && lock.IsInUse(i))
            lock.Wake(i);
    }
    if (wake == Wake::All)
        m_trigger->Signal();
    return true;
}

void RowInWorkTable::PublishAtNextHeartbeat(const WorkRecord& record)
{
    const qpr::ScopedLock state(m_mutex);
    m_wanted = record;
    m_owesWakes = true;
}

bool RowInWorkTable::HasPendingWork()
{
    const qpr::ScopedLock state(m_mutex);
    return m_wanted.pending.jobs > 0;
}

std::shared_ptr<qpr::ProcessEvent> RowInWorkTable::Trigger()
{
    const qpr::ScopedLock state(m_mutex);
    return m_trigger;
}

void RowInWorkTable::WaitForTrigger(std::uint32_t timeoutMs)
{
    Trigger()->Wait(timeoutMs);
}

void RowInWorkTable::SignalTrigger()
{
    Trigger()->Signal();
}

void RowInWorkTable::Heartbeat()
{
    Lock lock(m_table);
    const qpr::ScopedLock state(m_mutex);
    KeepRow(lock);
    if (!m_trigger->HasName())
    {
        lock.Write(m_owner.row, {});
        Claim(lock);
    }
    Write(lock, ToRecord(lock.Row(m_owner.row)), lock.Now());
    PublishInRow(lock, m_wanted, Wake::All);
    for (std::size_t i = 0; i < layout::RowCount; ++i)
    {
        if (i != m_owner.row && lock.IsInUse(i))
            lock.FreeIfDead(i);
    }
}

void RowInWorkTable::TryHeartbeat()
{
    try
    {
        Heartbeat();
    }
    catch (const std::exception&)
    {
    }
}

void RowInWorkTable::Run()
{
    for (;;)
    {
        qpr::Thread::Sleep(m_table.Options().heartbeatMs);
        TryHeartbeat();
    }
}

void RowInWorkTable::HandleError(const std::exception& error)
{
    qpr::PanicWithText(std::string("WorkTable::JobManager::RowInWorkTable::Run() failed:") + error.what());
}

} // namespace qxm
