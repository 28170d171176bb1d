#include "protocol/ServantProcess.h"

#include "runtime/text/Errors.h"
#include "runtime/threads/Wait.h"

#include <utility>

namespace qxm
{

/// Ends a wait for data that nobody should write any more.
class ServantOutput::Over
{
};

ServantOutput::ServantOutput(
    qpr::PipeEnd pipe, const qpr::WaitObject& servantEnd, GraceTimer& grace, std::wstring servantPath, qpr::Wait wait)
    : m_grace(grace)
    , m_servantPath(std::move(servantPath))
    , m_pipe(std::move(pipe))
    , m_reader(m_pipe.Handle(), wait.Or(servantEnd, [this] { return AllowAfterEnd(); }))
{
}

std::size_t ServantOutput::Read(void* buffer, std::size_t size)
{
    {
        const qpr::ScopedLock lock(m_lock);
        m_isReading = true;
    }
    std::size_t count = 0;
    try
    {
        count = m_reader.Read(buffer, size);
    }
    catch (const Over&)
    {
    }
    const qpr::ScopedLock lock(m_lock);
    m_isReading = false;
    if (m_left && count > *m_left)
        throw qpr::RuntimeError(L"Servant '" + m_servantPath + L"' left a process that was still writing");
    if (m_left)
        *m_left -= count;
    else if (m_hasServantEnded)
        FixDataSize();
    return count;
}

bool ServantOutput::InputPending()
{
    try
    {
        return m_reader.InputPending();
    }
    catch (const Over&)
    {
        return true;
    }
}

void ServantOutput::NoteServantEnd()
{
    const qpr::ScopedLock lock(m_lock);
    m_hasServantEnded = true;
    if (!m_isReading) // a read may have taken data that it has not counted yet
        FixDataSize();
}

/// Asked before each read and while one waits, once the servant has ended.
std::uint32_t ServantOutput::AllowAfterEnd()
{
    m_grace.Start(graceTimeMs);
    const std::uint32_t leftMs = m_grace.LeftMs();
    const qpr::ScopedLock lock(m_lock);
    FixDataSize();
    if (leftMs == 0 && m_reader.Available() == 0)
        throw Over();
    return leftMs;
}

void ServantOutput::FixDataSize()
{
    if (!m_left)
        m_left = m_reader.Available();
}

ServantProcess::ServantProcess(const std::vector<std::wstring>& commandLine, std::wostream& log)
    : m_path(commandLine.front())
{
    qpr::PipePair commandPipe = qpr::PipePair::ToChild();
    qpr::PipePair answerPipe = qpr::PipePair::FromChild();
    qpr::PipePair logPipe = qpr::PipePair::FromChild();

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

qpr::ChildProcess::ExitStatus ServantProcess::WaitForEnd(const qpr::Cancellation& cancellation)
{
    CloseInput();
    CloseOutput();
    return m_process->WaitForEnd(cancellation);
}

} // namespace qxm
