#include "worktable/WorkTable.h"

#include "runtime/named/NamedObject.h"
#include "runtime/processes/CurrentProcess.h"
#include "runtime/text/Errors.h"
#include "runtime/text/Panic.h"
#include "runtime/threads/Deadline.h"
#include "worktable/WorkTableTrace.h"

#include <chrono>
#include <utility>

namespace qxm
{

std::int64_t WorkTableOptions::SystemClockSeconds()
{
    using namespace std::chrono;
    return duration_cast<seconds>(system_clock::now().time_since_epoch()).count();
}

void AcquireTableMutex(qpr::ProcessMutex& mutex, std::uint32_t timeoutMs)
{
    try
    {
        return mutex.Acquire(timeoutMs);
    }
    catch (const qpr::AbandonedMutexError&)
    {
    }
    for (const qpr::Deadline deadline(timeoutMs);;)
    {
        try
        {
            return mutex.Acquire(deadline.LeftMs());
        }
        catch (const qpr::AbandonedMutexError&)
        {
            if (deadline.HasPassed())
                throw;
        }
    }
}

WorkTable::Security::Security()
{
    GrantAllAccess();
}

WorkTable::Objects::Objects(WorkTableNames tableNames)
    : names(std::move(tableNames))
{
}

WorkTable::WorkTable(ScopeMode mode, WorkTableOptions options)
    : m_options(std::move(options))
    , m_traceLogPath(qpr::EnvironmentVariable(WorkTableTraceVariable).value_or(L""))
    , m_objects(Open(mode))
{
}

std::shared_ptr<WorkTable::Objects> WorkTable::Open(ScopeMode mode) const
{
    if (mode == ScopeMode_CreateGlobal)
        return MakeGlobal();
    std::shared_ptr<Objects> global = OpenGlobal();
    return global ? global : OpenLocal();
}

std::shared_ptr<WorkTable::Objects> WorkTable::MakeGlobal() const
{
    auto objects = std::make_shared<Objects>(WorkTableNames(TableScope::Global, m_options.baseName));
    // Others who find the mutex rely on the rest, which they may not create: it is there first, should this process be
    // killed in between.
    objects->segment =
        std::make_unique<qpr::SharedMemorySegment>(objects->names.Segment(), sizeof(layout::Table), m_security);
    for (std::size_t i = 0; i < layout::RowCount; ++i)
        qpr::ProcessEvent().TryCreate(objects->names.Trigger(i), m_security);
    objects->mutex.OpenOrCreate(objects->names.Mutex(), m_security);
    return objects;
}

std::shared_ptr<WorkTable::Objects> WorkTable::OpenGlobal() const
{
    auto objects = std::make_shared<Objects>(WorkTableNames(TableScope::Global, m_options.baseName));
    try
    {
        if (!objects->mutex.TryOpen(objects->names.Mutex()))
            return nullptr;
        objects->segment =
            std::make_unique<qpr::SharedMemorySegment>(objects->names.Segment(), sizeof(layout::Table), m_security);
        return objects;
    }
    catch (const qpr::RuntimeError&) // somebody has put something else under its names
    {
        return nullptr;
    }
}

std::shared_ptr<WorkTable::Objects> WorkTable::OpenLocal() const
{
    auto objects = std::make_shared<Objects>(WorkTableNames(TableScope::Local, m_options.baseName));
    objects->mutex.OpenOrCreate(objects->names.Mutex(), m_security);
    objects->segment =
        std::make_unique<qpr::SharedMemorySegment>(objects->names.Segment(), sizeof(layout::Table), m_security);
    return objects;
}

std::shared_ptr<WorkTable::Objects> WorkTable::Current() const
{
    const qpr::ScopedLock lock(m_objectsMutex);
    return m_objects;
}

void WorkTable::Replace(const std::shared_ptr<Objects>& nameless)
{
    const qpr::ScopedLock lock(m_objectsMutex);
    if (m_objects == nameless)
        m_objects = Open(ScopeMode_PreferExistingGlobal);
}

WorkTable::Lock::Lock(WorkTable& table)
    : m_table(table)
{
    AcquireObjects();
    try
    {
        m_objects->segment->Read(&m_content, sizeof m_content);
    }
    catch (...)
    {
        Release();
        throw;
    }
    m_deadSince = m_now - table.m_options.deadAfterSeconds;
    if (!table.m_traceLogPath.empty())
        m_before = m_content;
}

void WorkTable::Lock::AcquireObjects()
{
    for (const qpr::Deadline deadline(m_table.m_options.lockTimeoutMs);;)
    {
        m_objects = m_table.Current();
        AcquireTableMutex(m_objects->mutex, deadline.LeftMs());
        m_now = m_table.m_options.clock();
        if (std::exchange(m_objects->namesSeenAt, m_now) == m_now || m_objects->HaveNames())
            return;
        Release();
        if (deadline.HasPassed())
            throw qpr::TimeoutException(L"Timeout executing qpr::ProcessMutex::Acquire");
        m_table.Replace(m_objects);
    }
}

WorkTable::Lock::~Lock()
{
    if (m_hasMadeRoom)
        WakeAll();
    if (!m_table.m_traceLogPath.empty())
        AppendWorkTableTrace(m_table.m_traceLogPath, m_now, m_before, m_content);
    Release();
}

void WorkTable::Lock::Release() noexcept
{
    try
    {
        m_objects->mutex.Release();
    }
    catch (const qpr::RuntimeError& error)
    {
        qpr::PanicWithText(error.what());
    }
}

void WorkTable::Lock::Write(std::size_t index, const layout::Row& row)
{
    m_objects->segment->Write(index * sizeof row, &row, sizeof row);
    const std::uint32_t owner = std::exchange(m_content.rows[index], row).processId;
    m_hasMadeRoom |= owner != 0 && owner != row.processId;
}

void WorkTable::Lock::Free(std::size_t index)
{
    layout::Row row = m_content.rows[index];
    row.processId = 0;
    Write(index, row);
}

void WorkTable::Lock::FreeIfDead(std::size_t index)
{
    if (TryCreateTrigger(index)) // which also removes what the dead owner left of it
        Free(index);
}

void WorkTable::Lock::Wake(std::size_t index) noexcept
{
    try
    {
        qpr::ProcessEvent trigger;
        if (trigger.TryOpen(m_objects->names.Trigger(index)))
            trigger.Signal();
        else
            FreeIfDead(index);
    }
    catch (const std::exception&) // whoever has calls that wait looks by itself
    {
    }
}

std::unique_ptr<qpr::ProcessEvent> WorkTable::Lock::TryCreateTrigger(std::size_t index) const
{
    auto trigger = std::make_unique<qpr::ProcessEvent>();
    return trigger->TryCreate(m_objects->names.Trigger(index), m_table.m_security) ? std::move(trigger) : nullptr;
}

std::wstring WorkTable::Lock::TriggerObstacle() const
{
    for (std::size_t i = 0; i < layout::RowCount; ++i)
    {
        const auto status = DescribeNamedObject(m_objects->names.Trigger(i), qpr::NamedObjectKind::Event);
        if (!status.obstacle.empty())
            return L" (" + status.obstacle + L')';
    }
    return {};
}

void WorkTable::Lock::WakeAll() noexcept
{
    for (std::size_t i = 0; i < layout::RowCount; ++i)
    {
        if (m_content.rows[i].processId != 0)
            Wake(i);
    }
}

} // namespace qxm
