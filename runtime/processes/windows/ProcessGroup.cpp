#include "runtime/processes/windows/ProcessGroup.h"

namespace qpr
{

ProcessGroup::ProcessGroup() noexcept
    : m_job(CreateJobObjectW(nullptr, nullptr))
{
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    if (!m_job.IsValid()
        || SetInformationJobObject(m_job.Value(), JobObjectExtendedLimitInformation, &limits, sizeof limits))
        return;
    m_job.Close();
}

void ProcessGroup::Add(HANDLE process) noexcept
{
    if (m_job.IsValid())
        AssignProcessToJobObject(m_job.Value(), process);
}

void ProcessGroup::Terminate(std::uint32_t exitCode) noexcept
{
    if (m_job.IsValid())
        TerminateJobObject(m_job.Value(), exitCode);
}

} // namespace qpr
