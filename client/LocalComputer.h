#pragma once

#include "client/CallNeeds.h"
#include "config/Configuration.h"
#include "config/ConnectorSettings.h"
#include "config/ExpectedUsage.h"
#include "config/HostDescription.h"
#include "protocol/ServiceRequestAttributes.h"
#include "worktable/RowInWorkTable.h"
#include "worktable/WorkTable.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace QxClient
{

/// What all client processes of this computer run now.
struct LocalLoad
{
    std::uint32_t calls = 0;
    float processors = 0;
    float memoryInMB = 0;
};

/// The local admission rule. An idle computer takes any call, however large; small calls do not wait for processors
/// while this connector runs few; otherwise the load with the call must stay within the limits. Equality with a limit
/// admits.
bool IsAdmitted(const CallNeeds& needs, const LocalLoad& load, std::size_t ownRunningCalls,
    const qxm::LocalLimits& limits, const qxm::LocalExecutionSettings& settings) noexcept;

/// This computer as a connector sees it: the services that are offered here, the limits, and the work table in which
/// all client processes tell each other what they run. Any thread may use it.
class LocalComputer
{
public:
    /// Opens the work table and claims a row.
    LocalComputer(qxm::ServicesMap services, const qxm::HostDescription& host,
        const qxm::LocalExecutionSettings& settings, const qxm::WorkTableOptions& tableOptions = {});

    /// Null when the service is not offered here. The service lives as long as this object.
    const qxm::LocalServiceInfo* FindService(const std::wstring& name) const;

    qxm::ExpectedUsage ComputeUsage(
        const qxm::LocalServiceInfo& service, const qxm::ServiceRequestAttributes& attributes) const;
    const qxm::LocalLimits& Limits() const noexcept { return m_limits; }

    /// Waits, interruptibly, until this or another process has published a change. While calls wait for room here it
    /// looks by itself once a second: a process that was killed tells nobody of the room that it leaves.
    void WaitForChange();

    using Row = qxm::WorkTable::JobManager::RowInWorkTable;
    using Wake = Row::Wake;

    /// Tells all client processes what this connector runs and has waiting, and wakes those that `wake` names: with
    /// Wake::All this connector too, even when nothing has changed.
    void Publish(const qxm::WorkRecord& record, Wake wake);

    /// The same where nothing may fail: what cannot be published now is published with the next heartbeat.
    void PublishLater(const qxm::WorkRecord& record, Wake wake) noexcept;

    /// One hold of the table: what it admits and publishes, no other process can have admitted too.
    class AdmissionPeriod
    {
    public:
        explicit AdmissionPeriod(LocalComputer& computer);

        bool Admits(const CallNeeds& needs, std::size_t ownRunningCalls) const noexcept;
        void Publish(const qxm::WorkRecord& record, Wake wake);

    private:
        LocalComputer& m_computer;
        qxm::WorkTable::Lock m_lock;
        LocalLoad m_load;
    };

private:
    void Publish(qxm::WorkTable::Lock& lock, const qxm::WorkRecord& record, Wake wake);

    const qxm::ServicesMap m_services;
    const qxm::LocalExecutionSettings m_settings;
    const qxm::LocalLimits m_limits;
    qxm::WorkTable m_table;
    Row m_row;
};

} // namespace QxClient
