#include "runtime/processes/ChildProcess.h"

#include "runtime/processes/SystemProcess.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>

namespace qpr
{

using Clock = std::chrono::system_clock;

bool ProcessStart::HasZeroCharacter() const noexcept
{
    const auto hasZero = [](const std::wstring& text) { return text.find(L'\0') != std::wstring::npos; };
    return hasZero(executablePath) || hasZero(workingDirectory) || std::ranges::any_of(arguments, hasZero)
        || std::ranges::any_of(
            environment, [&](const auto& variable) { return hasZero(variable.first) || hasZero(variable.second); });
}

struct ChildProcess::State
{
    explicit State(const ProcessStart& start)
        : startTime(Clock::now())
        , process(start)
    {
        figures.startTime = startTime;
        figures.processId = process.Id();
    }
    ~State()
    {
        if (isCollected)
            return;
        process.Kill();
        if (process.IsEnded())
            Collect();
    }
    State(const State&) = delete;
    State& operator=(const State&) = delete;

    void NoteEnd()
    {
        if (figures.endTime == Clock::time_point())
            figures.endTime = Clock::now();
    }

    void Collect()
    {
        NoteEnd();
        isCollected = true;
        exitStatus = process.Collect(figures);
    }

    const Clock::time_point startTime;
    SystemProcess process;
    ProcessFigures figures;
    bool isCollected = false;
    ExitStatus exitStatus;
};

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
    m_state->process.SetPriorityLevel(level);
}

WaitObject ChildProcess::EndObject() const noexcept
{
    return m_state->process.EndObject();
}

void ChildProcess::WaitForCompletion()
{
    Thread::WaitForObject(EndObject(), L"qpr::ChildProcess::WaitForCompletion");
    m_state->NoteEnd();
}

void ChildProcess::NotePeakMemory() noexcept
{
    m_state->process.NotePeakMemory(m_state->figures);
}

void ChildProcess::Terminate() noexcept
{
    if (!m_state->isCollected)
        m_state->process.Kill();
}

ChildProcess::ExitStatus ChildProcess::PeekExitStatus() const
{
    if (!m_state->process.IsEnded())
        throw std::logic_error("qpr::ChildProcess::PeekExitStatus: the process has not ended");
    return m_state->isCollected ? m_state->exitStatus : m_state->process.Peek();
}

ChildProcess::ExitStatus ChildProcess::CollectExitStatus()
{
    if (!m_state->process.IsEnded())
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
