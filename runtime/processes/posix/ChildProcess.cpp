#include "runtime/processes/ChildProcess.h"

#include "runtime/processes/posix/ProcessSpawn.h"
#include "runtime/processes/posix/ProcessStatus.h"
#include "runtime/text/Errors.h"
#include "runtime/threads/posix/Descriptor.h"
#include "runtime/threads/posix/EventDescriptor.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <poll.h>
#include <sched.h>
#include <stdexcept>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

// The process is held by a pidfd, so that no other process is ever taken for it, and is collected (which frees its id)
// only after its group has been signalled.
namespace qpr
{

namespace
{

using Clock = std::chrono::system_clock;

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

struct ChildProcess::State
{
    explicit State(const ProcessStart& start);
    ~State();
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    ExitStatus Peek() const noexcept;
    bool WaitForExitStatus(siginfo_t& info, int options, rusage* usage) const noexcept;
    void Collect();
    void TakeUsage(const rusage& usage);
    bool IsEnded() const noexcept { return WaitForEnd(0); }
    bool WaitForEnd(int timeoutMs) const noexcept;
    void Kill() const noexcept;
    void NoteEnd();

    ProcessFigures figures;
    pid_t processId;
    int descriptor = -1; ///< readable once the process has ended
    bool isLost = false; ///< ended and collected behind our back before it could be held
    bool isCollected = false;
    ExitStatus exitStatus;
    long clientPeakKB = 0; ///< what a fresh process seems to have had resident, and had not
    long notedPeakKB = 0;
};

ChildProcess::State::State(const ProcessStart& start)
{
    figures.startTime = Clock::now();
    processId = SpawnProcess(start);
    figures.processId = static_cast<std::uint32_t>(processId);
    clientPeakKB = OwnPeakResidentKB();
    descriptor = OpenProcess(processId);
    if (descriptor < 0 && errno == ESRCH)
    {
        isLost = true;
        descriptor = CreateEndedDescriptor();
    }
    if (descriptor >= 0)
        return;
    const int error = errno;
    kill(-processId, SIGKILL);
    if (!isLost && kill(processId, SIGKILL) == 0)
        waitpid(processId, nullptr, 0);
    ThrowSystemErrorWithNumber(
        L"pidfd_open() failed", L"qpr::ChildProcess::ChildProcess", static_cast<std::uint32_t>(error), __LINE__);
}

ChildProcess::State::~State()
{
    if (!isCollected)
    {
        Kill();
        if (IsEnded())
            Collect();
    }
    close(descriptor);
}

bool ChildProcess::State::WaitForEnd(int timeoutMs) const noexcept
{
    pollfd entry{descriptor, POLLIN, 0};
    int count;
    do
        count = poll(&entry, 1, timeoutMs);
    while (count < 0 && errno == EINTR);
    return count > 0;
}

void ChildProcess::State::Kill() const noexcept
{
    kill(-processId, SIGKILL);
    if (isLost)
        return;
    // The process may have left its group, and may have become one that we may not end.
    const bool isSignalled = syscall(SYS_pidfd_send_signal, descriptor, SIGKILL, nullptr, 0) == 0;
    if (isSignalled)
        WaitForEnd(-1);
}

void ChildProcess::State::NoteEnd()
{
    if (figures.endTime == Clock::time_point())
        figures.endTime = Clock::now();
}

ChildProcess::ExitStatus ChildProcess::State::Peek() const noexcept
{
    siginfo_t info{};
    if (isCollected || isLost || !WaitForExitStatus(info, WNOWAIT, nullptr))
        return exitStatus;
    return ExitStatusOf(info);
}

void ChildProcess::State::Collect()
{
    NoteEnd();
    isCollected = true;
    if (isLost)
        return;
    siginfo_t info{};
    rusage usage{};
    if (!WaitForExitStatus(info, 0, &usage))
        return;
    exitStatus = ExitStatusOf(info);
    TakeUsage(usage);
}

/// Requires: the process has ended. Waits nevertheless: its descriptor tells so when the first thread has, and a busy
/// computer lets the others of one at idle priority end later. The library's waitid does not hand out the usage. False
/// when somebody else has collected it.
bool ChildProcess::State::WaitForExitStatus(siginfo_t& info, int options, rusage* usage) const noexcept
{
    long result;
    do
        result = syscall(SYS_waitid, P_PIDFD, descriptor, &info, WEXITED | options, usage);
    while (result != 0 && errno == EINTR);
    return result == 0 && info.si_pid != 0;
}

// Until it has replaced itself by the program, a spawned process shares the client's memory, and the system counts that
// as its peak too. A peak up to the client's own says nothing.
void ChildProcess::State::TakeUsage(const rusage& usage)
{
    figures.userTime = MicrosecondsOf(usage.ru_utime);
    figures.kernelTime = MicrosecondsOf(usage.ru_stime);
    figures.pageFaultCount = static_cast<std::uint64_t>(usage.ru_minflt + usage.ru_majflt);
    const long peakKB = usage.ru_maxrss > clientPeakKB ? usage.ru_maxrss : notedPeakKB;
    figures.peakWorkingSetSizeMB = static_cast<double>(peakKB) / 1024;
}

ChildProcess::ChildProcess(const ProcessStart& start)
    : m_state(std::make_unique<State>(start))
{
}

ChildProcess::~ChildProcess() = default;

std::uint32_t ChildProcess::ProcessId() const noexcept
{
    return m_state->figures.processId;
}

void ChildProcess::SetPriorityLevel(PriorityLevel level) noexcept
{
    constexpr int niceValues[] = {-10, 0, 10};
    if (level != PriorityLevel::Idle)
    {
        setpriority(PRIO_PROCESS, static_cast<id_t>(m_state->processId), niceValues[static_cast<int>(level)]);
        return;
    }
    const sched_param parameters{};
    sched_setscheduler(m_state->processId, SCHED_IDLE, &parameters);
}

WaitObject ChildProcess::EndObject() const noexcept
{
    return {HandleOf(m_state->descriptor), WaitObject::Kind_State};
}

void ChildProcess::WaitForCompletion()
{
    Thread::WaitForObject(EndObject(), L"qpr::ChildProcess::WaitForCompletion");
    m_state->NoteEnd();
}

void ChildProcess::NotePeakMemory() noexcept
{
    m_state->notedPeakKB = std::max(m_state->notedPeakKB, PeakResidentKB(m_state->processId));
}

void ChildProcess::Terminate() noexcept
{
    if (!m_state->isCollected)
        m_state->Kill();
}

ChildProcess::ExitStatus ChildProcess::PeekExitStatus() const
{
    if (!m_state->IsEnded())
        throw std::logic_error("qpr::ChildProcess::PeekExitStatus: the process has not ended");
    return m_state->Peek();
}

ChildProcess::ExitStatus ChildProcess::CollectExitStatus()
{
    if (!m_state->IsEnded())
        throw std::logic_error("qpr::ChildProcess::CollectExitStatus: the process has not ended");
    if (!m_state->isCollected)
        m_state->Collect();
    return m_state->exitStatus;
}

const ProcessFigures& ChildProcess::Figures() const noexcept
{
    return m_state->figures;
}

} // namespace qpr
