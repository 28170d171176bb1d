#include "protocol/ServantProcess.h"

#include "runtime/Cancellation.h"

#include <utility>

namespace qxm
{

namespace
{

constexpr bool ours = true; // the end whose reads and writes can be interrupted
constexpr bool childs = false;

} // namespace

ServantProcess::ServantProcess(const std::vector<std::wstring>& commandLine, std::wostream& log)
{
    qpr::PipePair commandPipe(childs, ours);
    qpr::PipePair answerPipe(ours, childs);
    qpr::PipePair logPipe(ours, childs);

    qpr::ProcessStart start;
    start.executablePath = commandLine.front();
    start.arguments = commandLine;
    start.standardInput = commandPipe.server.Handle();
    start.standardOutput = answerPipe.client.Handle();
    start.standardError = logPipe.client.Handle();
    m_process = std::make_unique<SupervisedProcess>(start, std::move(logPipe.server), log);
    m_process->Process().SetPriorityLevel(qpr::PriorityLevel::Idle);

    m_commandPipe = std::move(commandPipe.client);
    m_answerPipe = std::move(answerPipe.server);
}

qpr::ChildProcess::ExitStatus ServantProcess::AwaitEnd(const qpr::Cancellation& cancellation) const
{
    qpr::Wait(cancellation).For(EndObject(), L"qxm::ServantProcess::AwaitEnd");
    return m_process->Process().PeekExitStatus();
}

qpr::ChildProcess::ExitStatus ServantProcess::WaitForEnd(const qpr::Cancellation& cancellation, bool hurry)
{
    m_commandPipe = {};
    m_answerPipe = {};
    return m_process->WaitForEnd(cancellation, hurry);
}

} // namespace qxm
