#include "runtime/processes/posix/SystemProcess.h"

#include "runtime/processes/posix/ProcessSpawn.h"
#include "runtime/processes/posix/ProcessStatus.h"
#include "runtime/text/Errors.h"
#include "runtime/threads/posix/EventDescriptor.h"

#include <algorithm>
#include <cerrno>
#include <poll.h>
#include <sched.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace qpr
{

namespace
{

int OpenProcess(pid_t processId) noexcept
{
    return static_cast<int>(syscall(SYS_pidfd_open, processId, 0));
}

/// The end of a process that the system no longer knows: signalled from the start.
int CreateEndedDescriptor() noexcept
{
    const int descriptor = CreateEventDescriptor();
    if (descriptor >= 0)
        SignalEventDescriptor(descriptor);
    return descriptor;
}

std::chrono::microseconds MicrosecondsOf(const timeval& time)
{
    return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec);
}

long OwnPeakResidentKB() noexcept
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

ChildProcess::ExitStatus ExitStatusOf(const siginfo_t& info) noexcept
{
    const auto status = static_cast<std::uint32_t>(info.si_status);
    if (info.si_code == CLD_EXITED)
        return {true, status, 0};
    return {true, 128 + status, status};
}

} // namespace

SystemProcess::SystemProcess(const ProcessStart& start)
    : m_processId(SpawnProcess(start))
{
    m_clientPeakKB = OwnPeakResidentKB();
    m_descriptor = OpenProcess(m_processId);
    if (m_descriptor < 0 && errno == ESRCH)
    {
        m_isLost = true;
        m_descriptor = CreateEndedDescriptor();
    }
    if (m_descriptor >= 0)
        return;
    const int error = errno;
    kill(-m_processId, SIGKILL);
    if (!m_isLost && kill(m_processId, SIGKILL) == 0)
        waitpid(m_processId, nullptr, 0);
    ThrowSystemErrorWithNumber(
        L"pidfd_open() failed", L"qpr::ChildProcess::ChildProcess", static_cast<std::uint32_t>(error), __LINE__);
}

SystemProcess::~SystemProcess()
{
    close(m_descriptor);
}

bool SystemProcess::WaitForEnd(int timeoutMs) const noexcept
{
    pollfd entry{m_descriptor, POLLIN, 0};
    int count;
    do
        count = poll(&entry, 1, timeoutMs);
    while (count < 0 && errno == EINTR);
    return count > 0;
}

void SystemProcess::Kill() noexcept
{
    kill(-m_processId, SIGKILL);
    if (m_isLost)
        return;
    // The process may have left its group, and may have become one that we may not end.
    const bool isSignalled = syscall(SYS_pidfd_send_signal, m_descriptor, SIGKILL, nullptr, 0) == 0;
    if (isSignalled)
        WaitForEnd(-1);
}

ChildProcess::ExitStatus SystemProcess::Peek() const noexcept
{
    siginfo_t info{};
    if (m_isLost || !WaitForExitStatus(info, WNOWAIT, nullptr))
        return {};
    return ExitStatusOf(info);
}

ChildProcess::ExitStatus SystemProcess::Collect(ProcessFigures& figures) noexcept
{
    siginfo_t info{};
    rusage usage{};
    if (m_isLost || !WaitForExitStatus(info, 0, &usage))
        return {};
    TakeUsage(usage, figures);
    return ExitStatusOf(info);
}

/// Requires: the process has ended. Waits nevertheless: its descriptor tells so when the first thread has, and a busy
/// computer lets the others of one at idle priority end later. The library's waitid does not hand out the usage. False
/// when somebody else has collected it.
bool SystemProcess::WaitForExitStatus(siginfo_t& info, int options, rusage* usage) const noexcept
{
    long result;
    do
        result = syscall(SYS_waitid, P_PIDFD, m_descriptor, &info, WEXITED | options, usage);
    while (result != 0 && errno == EINTR);
    return result == 0 && info.si_pid != 0;
}

// Until it has replaced itself by the program, a spawned process shares the client's memory, and the system counts that
// as its peak too. A peak up to the client's own says nothing.
void SystemProcess::TakeUsage(const rusage& usage, ProcessFigures& figures) const noexcept
{
    figures.userTime = MicrosecondsOf(usage.ru_utime);
    figures.kernelTime = MicrosecondsOf(usage.ru_stime);
    figures.pageFaultCount = static_cast<std::uint64_t>(usage.ru_minflt + usage.ru_majflt);
    const long peakKB = usage.ru_maxrss > m_clientPeakKB ? usage.ru_maxrss : m_notedPeakKB;
    figures.peakWorkingSetSizeMB = static_cast<double>(peakKB) / 1024;
}

void SystemProcess::SetPriorityLevel(PriorityLevel level) noexcept
{
    constexpr int niceValues[] = {-10, 0, 10};
    if (level != PriorityLevel::Idle)
    {
        setpriority(PRIO_PROCESS, static_cast<id_t>(m_processId), niceValues[static_cast<int>(level)]);
        return;
    }
    const sched_param parameters{};
    sched_setscheduler(m_processId, SCHED_IDLE, &parameters);
}

void SystemProcess::NotePeakMemory(ProcessFigures&) noexcept
{
    m_notedPeakKB = std::max(m_notedPeakKB, PeakResidentKB(m_processId));
}

} // namespace qpr
