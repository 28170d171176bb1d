#include "worktable/WorkTable.h"

#include "runtime/Environment.h"
#include "runtime/Errors.h"
#include "runtime/Panic.h"
#include "worktable/TableMutex.h"
#include "worktable/WorkTableTrace.h"

#include <chrono>

namespace qxm
{

std::int64_t WorkTableOptions::SystemClockSeconds()
{
    using namespace std::chrono;
    return duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
}

WorkTable::Security::Security()
{
    GrantAllAccess();
}

WorkTable::WorkTable(ScopeMode mode, WorkTableOptions options)
    : m_options(std::move(options))
    , m_names(OpenMutex(mode))
    , m_segment(m_names.Segment(), sizeof(layout::Table), m_security)
    , m_triggers(m_names.Triggers())
    , m_traceLogPath(qpr::EnvironmentVariable(WorkTableTraceVariable).value_or(L""))
{
}

WorkTableNames WorkTable::OpenMutex(ScopeMode mode)
{
    WorkTableNames global(true, m_options.baseName);
    WorkTableNames local(false, m_options.baseName);
    if (mode == ScopeMode_CreateGlobal)
    {
        // Others who find the mutex rely on the segment, which they may not create: it is there first, should this
        // process be killed in between.
        const qpr::SharedMemorySegment segment(global.Segment(), sizeof(layout::Table), m_security);
        m_mutex.OpenOrCreate(global.Mutex(), m_security);
        return global;
    }
    if (m_mutex.TryOpen(global.Mutex()))
        return global;
    m_mutex.OpenOrCreate(local.Mutex(), m_security);
    return local;
}

WorkTable::Lock::Lock(WorkTable& table)
    : m_table(table)
    , m_content(table.Content())
{
    AcquireTableMutex(table.m_mutex, table.m_options.lockTimeoutMs);
    m_now = table.m_options.clock();
    m_deadSince = m_now - table.m_options.deadAfterSeconds;
    if (!table.m_traceLogPath.empty())
        m_before = m_content;
}

WorkTable::Lock::~Lock()
{
    if (m_hasReclaimed)
        SignalLiveRows();
    if (!m_table.m_traceLogPath.empty())
        AppendWorkTableTrace(m_table.m_traceLogPath, m_now, m_before, m_content);
    try
    {
        m_table.m_mutex.Release();
    }
    catch (const qpr::RuntimeError& error)
    {
        qpr::PanicWithText(error.what());
    }
}

bool WorkTable::Lock::IsOwnInUse(const RowOwner& owner)
{
    const std::uint32_t processId = owner.row->processId;
    if (processId == 0)
        owner.row->processId = owner.processId;
    else if (processId != owner.processId)
        throw qpr::RuntimeError(L"Work table corruption detected in qxm::JobManagerRow::InUse: process id "
            + std::to_wstring(processId) + L" does not match expected process id " + std::to_wstring(owner.processId));
    return true;
}

void WorkTable::Lock::SignalLiveRows() noexcept
{
    for (std::size_t i = 0; i < layout::RowCount; ++i)
    {
        const layout::Row& row = m_content.rows[i];
        if (row.processId != 0 && row.lastSeenAlive > m_deadSince)
            SignalTrigger(i);
    }
}

} // namespace qxm
