#include "worktable/JobManager.h"

#include "runtime/CurrentProcess.h"
#include "worktable/RowInWorkTable.h"

namespace qxm
{

WorkTable::JobManager::JobManager(WorkTable& table)
    : m_row(std::make_unique<RowInWorkTable>(table, qpr::CurrentProcess::GetId()))
    , m_heartbeat(*m_row, "qx heartbeat")
{
}

WorkTable::JobManager::~JobManager() = default;

Work WorkTable::JobManager::SumActiveWork(Lock& lock) const
{
    return m_row->SumActiveWork(lock);
}

bool WorkTable::JobManager::Publish(Lock& lock, const WorkRecord& record, Wake wake)
{
    return m_row->Publish(lock, record, wake);
}

void WorkTable::JobManager::PublishAtNextHeartbeat(const WorkRecord& record)
{
    m_row->PublishAtNextHeartbeat(record);
}

void WorkTable::JobManager::WaitForTrigger(std::uint32_t timeoutMs)
{
    m_row->Trigger().Wait(timeoutMs);
}

void WorkTable::JobManager::SignalTrigger()
{
    m_row->Trigger().Signal();
}

} // namespace qxm
