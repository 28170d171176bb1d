#include "runtime/processes/ChildProcess.h"

#include "runtime/processes/windows/ProcessGroup.h"
#include "runtime/processes/windows/ProcessSpawn.h"
#include "runtime/processes/windows/ProcessStatus.h"
#include "runtime/text/Errors.h"

#include <stdexcept>

// The process's handle keeps its id from being given to another, and its figures; the group is a job that ends with the
// object. Where the system refuses a job (this process's own job may forbid it) only the process itself is ended.
namespace qpr
{

namespace
{

using Clock = std::chrono::system_clock;

/// Of a process that was ended from outside; the number that it has on other systems.
constexpr std::uint32_t exitCodeTerminated = 137;

} // namespace

struct ChildProcess::State
{
    explicit State(const ProcessStart& start);
    ~State();
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    ExitStatus Peek() const noexcept;
    void Collect();
    bool IsEnded() const noexcept { return WaitForEnd(0); }
    bool WaitForEnd(DWORD timeoutMs) const noexcept;
    void Kill() noexcept;
    void NoteEnd();

    ProcessFigures figures;
    ProcessGroup group;
    OwnedHandle process;
    bool isCollected = false;
    ExitStatus exitStatus;
};

ChildProcess::State::State(const ProcessStart& start)
{
    figures.startTime = Clock::now();
    SpawnedProcess spawned = SpawnProcess(start, group);
    process = std::move(spawned.process);
    figures.processId = spawned.processId;
}

ChildProcess::State::~State()
{
    if (process.IsValid() && !isCollected)
        Kill();
}

bool ChildProcess::State::WaitForEnd(DWORD timeoutMs) const noexcept
{
    return WaitForSingleObject(process.Value(), timeoutMs) == WAIT_OBJECT_0;
}

void ChildProcess::State::Kill() noexcept
{
    group.Terminate(exitCodeTerminated);
    TerminateProcess(process.Value(), exitCodeTerminated); // may not be in the group
    WaitForEnd(INFINITE);
}

void ChildProcess::State::NoteEnd()
{
    if (figures.endTime == Clock::time_point())
        figures.endTime = Clock::now();
}

ChildProcess::ExitStatus ChildProcess::State::Peek() const noexcept
{
    DWORD exitCode = 0;
    if (!GetExitCodeProcess(process.Value(), &exitCode))
        return {};
    return {true, exitCode, 0};
}

void ChildProcess::State::Collect()
{
    NoteEnd();
    isCollected = true;
    exitStatus = Peek();
    ReadTimes(process.Value(), figures);
    ReadMemory(process.Value(), figures);
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
    constexpr DWORD classes[] = {
        HIGH_PRIORITY_CLASS, NORMAL_PRIORITY_CLASS, BELOW_NORMAL_PRIORITY_CLASS, IDLE_PRIORITY_CLASS};
    SetPriorityClass(m_state->process.Value(), classes[static_cast<int>(level)]);
}

WaitObject ChildProcess::EndObject() const noexcept
{
    return {m_state->process.Native(), WaitObject::Kind_State};
}

void ChildProcess::WaitForCompletion()
{
    Thread::WaitForObject(EndObject(), L"qpr::ChildProcess::WaitForCompletion");
    m_state->NoteEnd();
}

void ChildProcess::NotePeakMemory() noexcept
{
    ReadMemory(m_state->process.Value(), m_state->figures);
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
