#include "client/LocalComputer.h"

#include <utility>

namespace QxClient
{

bool IsAdmitted(const CallNeeds& needs, const LocalLoad& load, std::size_t ownRunningCalls,
    const qxm::LocalLimits& limits, const qxm::LocalExecutionSettings& settings) noexcept
{
    if (load.calls == 0)
        return true;
    if (settings.noWaitCallMemoryUsageLimitInMB > needs.memoryInMB && ownRunningCalls < settings.maxRunningNoWaitCalls)
        return true;
    if (load.processors + needs.processors > limits.processors)
        return false;
    return !(needs.memoryInMB + load.memoryInMB > limits.memoryInMB);
}

namespace
{

constexpr std::uint32_t lookIntervalMs = 1000;

} // namespace

LocalComputer::LocalComputer(qxm::ServicesMap services, const qxm::HostDescription& host,
    const qxm::LocalExecutionSettings& settings, const qxm::WorkTableOptions& tableOptions)
    : m_services(std::move(services))
    , m_settings(settings)
    , m_limits(host.cpuCount, host.memorySizeInMB, settings)
    , m_table(qxm::WorkTable::ScopeMode_PreferExistingGlobal, tableOptions)
    , m_row(m_table)
{
}

const qxm::LocalServiceInfo* LocalComputer::FindService(const std::wstring& name) const
{
    const auto found = m_services.find(name);
    return found == m_services.end() ? nullptr : found->second.get();
}

qxm::ExpectedUsage LocalComputer::ComputeUsage(
    const qxm::LocalServiceInfo& service, const qxm::ServiceRequestAttributes& attributes) const
{
    return ComputeExpectedUsage(service, attributes, m_limits, m_settings.maxLocalServants);
}

void LocalComputer::WaitForChange()
{
    try
    {
        m_row.WaitForTrigger(m_row.HasPendingWork() ? lookIntervalMs : qpr::Infinite);
    }
    catch (const qpr::TimeoutException&)
    {
        m_row.TryHeartbeat();
    }
}

void LocalComputer::Publish(const qxm::WorkRecord& record, Wake wake)
{
    qxm::WorkTable::Lock lock(m_table);
    Publish(lock, record, wake);
}

void LocalComputer::Publish(qxm::WorkTable::Lock& lock, const qxm::WorkRecord& record, Wake wake)
{
    if (!m_row.Publish(lock, record, wake) && wake == Wake::All)
        m_row.SignalTrigger();
}

void LocalComputer::PublishLater(const qxm::WorkRecord& record, Wake wake) noexcept
{
    try
    {
        const qpr::NonInterruptibleSection section;
        Publish(record, wake);
    }
    catch (...)
    {
        m_row.PublishAtNextHeartbeat(record);
    }
}

LocalComputer::AdmissionPeriod::AdmissionPeriod(LocalComputer& computer)
    : m_computer(computer)
    , m_lock(computer.m_table)
{
    const qxm::Work active = computer.m_row.SumActiveWork(m_lock);
    m_load = {active.jobs, active.processors, active.memoryInMB};
}

bool LocalComputer::AdmissionPeriod::Admits(const CallNeeds& needs, std::size_t ownRunningCalls) const noexcept
{
    return IsAdmitted(needs, m_load, ownRunningCalls, m_computer.m_limits, m_computer.m_settings);
}

void LocalComputer::AdmissionPeriod::Publish(const qxm::WorkRecord& record, Wake wake)
{
    m_computer.Publish(m_lock, record, wake);
}

} // namespace QxClient
