#include "runtime/processes/SystemProcess.h"

#include "runtime/processes/posix/ProcessSpawn.h"
#include "runtime/text/Errors.h"
#include "runtime/threads/SystemWait.h"
#include "runtime/threads/posix/Descriptor.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <poll.h>
#include <sched.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

namespace qpr
{

namespace
{

NativeHandle OpenProcess(pid_t processId) noexcept
{
    return HandleOf(static_cast<int>(syscall(SYS_pidfd_open, processId, 0)));
}

/// For a process that the system no longer knows: signalled from the start.
NativeHandle CreateEndedEvent() noexcept
{
    const NativeHandle event = CreateSystemEvent(WaitObject::Kind_State);
    if (event.IsValid())
        SetSystemEvent(event);
    return event;
}

std::chrono::microseconds MicrosecondsOf(const timeval& time)
{
    return std::chrono::seconds(time.tv_sec) + std::chrono::microseconds(time.tv_usec);
}

/// The most memory that this process has had resident, in KB.
long OwnPeakResidentKB() noexcept
{
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

/// The same of another process, while it exists; 0 when it is not known.
long PeakResidentKB(pid_t process) noexcept
{
    char text[256];
    std::snprintf(text, sizeof text, "/proc/%ld/status", static_cast<long>(process));
    const std::unique_ptr<FILE, int (*)(FILE*)> file(std::fopen(text, "re"), &std::fclose);
    long peakKB = 0;
    while (file && peakKB == 0 && std::fgets(text, sizeof text, file.get()))
        std::sscanf(text, "VmHWM: %ld", &peakKB);
    return peakKB;
}

ChildProcess::ExitStatus ExitStatusOf(const siginfo_t& info) noexcept
{
    const auto status = static_cast<std::uint32_t>(info.si_status);
    if (info.si_code == CLD_EXITED)
        return {true, status, 0};
    return {true, 128 + status, status};
}

} // namespace

struct SystemProcess::Native
{
    explicit Native(const ProcessStart& start)
        : id(SpawnProcess(start))
        , clientPeakKB(OwnPeakResidentKB())
    {
    }

    void Hold();
    bool WaitForEnd(int timeoutMs) const noexcept;
    bool WaitForExitStatus(siginfo_t& info, int options, rusage* usage) const noexcept;
    void TakeUsage(const rusage& usage, ProcessFigures& figures) const noexcept;

    const pid_t id;
    const long clientPeakKB; ///< this process's own peak, which the system may count for the new one too
    SystemHandle<"qpr::ChildProcess::~ChildProcess"> end; ///< readable once the process has ended
    bool isLost = false; ///< ended and was collected by somebody else before it could be held
    long notedPeakKB = 0;
};

/// Throws when the system refuses; the process has been ended then.
void SystemProcess::Native::Hold()
{
    NativeHandle handle = OpenProcess(id);
    if (!handle.IsValid() && errno == ESRCH)
    {
        isLost = true;
        handle = CreateEndedEvent();
    }
    end = decltype(end)(handle);
    if (end.IsValid())
        return;
    const int error = errno;
    kill(-id, SIGKILL);
    if (!isLost && kill(id, SIGKILL) == 0)
        waitpid(id, nullptr, 0);
    ThrowSystemErrorWithNumber(
        L"pidfd_open() failed", L"qpr::ChildProcess::ChildProcess", static_cast<std::uint32_t>(error), __LINE__);
}

bool SystemProcess::Native::WaitForEnd(int timeoutMs) const noexcept
{
    pollfd entry{DescriptorOf(end), POLLIN, 0};
    int count;
    do
        count = poll(&entry, 1, timeoutMs);
    while (count < 0 && errno == EINTR);
    return count > 0;
}

/// Requires: the process has ended. It waits all the same: the descriptor is readable once the first thread has ended,
/// and the others of a process at idle priority end later on a busy computer. A system call, because the library's
/// waitid does not return the usage. False when somebody else has collected the process.
bool SystemProcess::Native::WaitForExitStatus(siginfo_t& info, int options, rusage* usage) const noexcept
{
    long result;
    do
        result = syscall(SYS_waitid, P_PIDFD, DescriptorOf(end), &info, WEXITED | options, usage);
    while (result != 0 && errno == EINTR);
    return result == 0 && info.si_pid != 0;
}

/// Ignores a peak up to the client's own: until a spawned process becomes the program it shares the client's memory,
/// and the system counts that as its peak.
void SystemProcess::Native::TakeUsage(const rusage& usage, ProcessFigures& figures) const noexcept
{
    figures.userTime = MicrosecondsOf(usage.ru_utime);
    figures.kernelTime = MicrosecondsOf(usage.ru_stime);
    figures.pageFaultCount = static_cast<std::uint64_t>(usage.ru_minflt + usage.ru_majflt);
    const long peakKB = usage.ru_maxrss > clientPeakKB ? usage.ru_maxrss : notedPeakKB;
    figures.peakWorkingSetSizeMB = static_cast<double>(peakKB) / 1024;
}

SystemProcess::SystemProcess(const ProcessStart& start)
    : m_native(std::make_unique<Native>(start))
{
    m_native->Hold();
}

SystemProcess::~SystemProcess() = default;

std::uint32_t SystemProcess::Id() const noexcept
{
    return static_cast<std::uint32_t>(m_native->id);
}

WaitObject SystemProcess::EndObject() const noexcept
{
    return {m_native->end.Get(), WaitObject::Kind_State};
}

void SystemProcess::SetPriorityLevel(PriorityLevel level) noexcept
{
    constexpr int niceValues[] = {-10, 0, 10};
    if (level != PriorityLevel::Idle)
    {
        setpriority(PRIO_PROCESS, static_cast<id_t>(m_native->id), niceValues[static_cast<int>(level)]);
        return;
    }
    const sched_param parameters{};
    sched_setscheduler(m_native->id, SCHED_IDLE, &parameters);
}

void SystemProcess::NotePeakMemory(ProcessFigures&) noexcept
{
    m_native->notedPeakKB = std::max(m_native->notedPeakKB, PeakResidentKB(m_native->id));
}

bool SystemProcess::IsEnded() const noexcept
{
    return m_native->WaitForEnd(0);
}

void SystemProcess::Kill() noexcept
{
    kill(-m_native->id, SIGKILL);
    if (m_native->isLost)
        return;
    // The process may have left its group, and may have become one that we may not end.
    const bool isSignalled = syscall(SYS_pidfd_send_signal, DescriptorOf(m_native->end), SIGKILL, nullptr, 0) == 0;
    if (isSignalled)
        m_native->WaitForEnd(-1);
}

ChildProcess::ExitStatus SystemProcess::Peek() const noexcept
{
    siginfo_t info{};
    if (m_native->isLost || !m_native->WaitForExitStatus(info, WNOWAIT, nullptr))
        return {};
    return ExitStatusOf(info);
}

ChildProcess::ExitStatus SystemProcess::Collect(ProcessFigures& figures) noexcept
{
    siginfo_t info{};
    rusage usage{};
    if (m_native->isLost || !m_native->WaitForExitStatus(info, 0, &usage))
        return {};
    m_native->TakeUsage(usage, figures);
    return ExitStatusOf(info);
}

} // namespace qpr
