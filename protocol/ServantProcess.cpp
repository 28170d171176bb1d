#include "protocol/ServantProcess.h"

#include "runtime/Errors.h"
#include "runtime/Wait.h"

#include <utility>

namespace qxm
{

namespace
{

constexpr bool ours = true; // the end whose reads and writes can be interrupted
constexpr bool childs = false;

} // namespace

ServantProcess::ServantProcess(const std::vector<std::wstring>& commandLine, std::wostream& log)
    : m_path(commandLine.front())
{
    qpr::PipePair commandPipe(childs, ours);
    qpr::PipePair answerPipe(ours, childs);
    qpr::PipePair logPipe(ours, childs);

    qpr::ProcessStart start;
    start.executablePath = m_path;
    start.arguments = commandLine;
    start.standardInput = commandPipe.server.Handle();
    start.standardOutput = answerPipe.client.Handle();
    start.standardError = logPipe.client.Handle();
    m_process = std::make_unique<SupervisedProcess>(start, std::move(logPipe.server), log, [this] { NoteEnd(); });
    m_process->Process().SetPriorityLevel(qpr::PriorityLevel::Idle);

    m_commandPipe = std::move(commandPipe.client);
    m_answerPipe = std::move(answerPipe.server);
}

std::unique_ptr<qpr::IOWriter> ServantProcess::OpenInput(qpr::Wait wait) const
{
    const auto nobodyReads = []() -> std::uint32_t { throw qpr::PeerClosedError(L"The servant has ended"); };
    return std::make_unique<qpr::IOWriter>(m_commandPipe.Handle(), wait.Or(EndObject(), nobodyReads));
}

std::unique_ptr<ServantOutputReader> ServantProcess::OpenOutput(qpr::Wait wait)
{
    const qpr::ScopedLock lock(m_lock);
    m_output = std::make_unique<ServantOutput>(
        std::move(m_answerPipe), EndObject(), m_process->Grace(), m_path, std::move(wait));
    return std::make_unique<ServantOutputReader>(*m_output);
}

void ServantProcess::CloseOutput()
{
    const qpr::ScopedLock lock(m_lock);
    m_answerPipe = {};
    m_output.reset();
}

void ServantProcess::NoteEnd()
{
    const qpr::ScopedLock lock(m_lock);
    if (m_output)
        m_output->NoteServantEnd();
}

qpr::ChildProcess::ExitStatus ServantProcess::AwaitEnd(const qpr::Cancellation& cancellation) const
{
    qpr::Wait(cancellation).For(EndObject(), L"qxm::ServantProcess::AwaitEnd");
    return m_process->Process().PeekExitStatus();
}

qpr::ChildProcess::ExitStatus ServantProcess::WaitForEnd(const qpr::Cancellation& cancellation, bool hurry)
{
    CloseInput();
    CloseOutput();
    return m_process->WaitForEnd(cancellation, hurry);
}

} // namespace qxm
