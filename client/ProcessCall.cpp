#include "client/ProcessCall.h"

#include "protocol/SupervisedProcess.h"
#include "runtime/text/Errors.h"
#include "streams/ByteStreams.h"

#include <qxmi/IProcessRequestW.h>
#include <string_view>
#include <utility>
#include <vector>

namespace QxClient
{

namespace
{

constexpr std::size_t maxLineLength = 65536;

}

void LineLog::Write(const wchar_t* text, std::size_t length)
{
    for (const wchar_t character : std::wstring_view(text, length))
    {
        if (character == L'\n' || m_line.size() == maxLineLength)
            PassOn();
        if (character != L'\n')
            m_line += character;
    }
}

void LineLog::Finish()
{
    if (!m_line.empty())
        PassOn();
}

void LineLog::PassOn()
{
    if (!m_line.empty() && m_line.back() == L'\r')
        m_line.pop_back();
    try
    {
        m_request.WriteLogLine(m_line.data(), m_line.size());
    }
    catch (...) // the application's own failure to keep its log
    {
    }
    m_line.clear();
}

namespace
{

constexpr std::uint32_t lookAgainMs = 1000;
constexpr std::size_t logBufferSize = 1024; // characters

qpr::ProcessStart Describe(qxmi::IProcessRequestW& request)
{
    qpr::ProcessStart start;
    request.GetExecutablePath(start.executablePath);
    if (start.executablePath.empty())
        throw qpr::RuntimeError(L"Missing executable path in process request");
    request.GetArguments(start.arguments);
    start.arguments.insert(start.arguments.begin(), start.executablePath);
    request.GetWorkingDirectory(start.workingDirectory);
    request.GetEnvironment(start.environment);
    start.searchPath = true;
    return start;
}

} // namespace

ProcessCall::ProcessCall(qxmi::IProcessRequestW& request)
    : m_request(request)
    , m_start(Describe(request))
{
    m_thread = std::make_unique<qpr::Thread>(*this, "qx process");
}

void ProcessCall::Destroy()
{
    m_cancellation.Cancel();
    Wait();
    m_thread.reset();
    delete this;
}

void ProcessCall::Cancel()
{
    m_cancellation.Cancel();
}

void ProcessCall::Wait()
{
    qpr::ScopedLock lock(m_lock);
    while (!m_hasEnded)
        m_endedChanged.WaitFor(m_lock, lookAgainMs);
}

void ProcessCall::SetEnded()
{
    qpr::ScopedLock lock(m_lock);
    m_hasEnded = true;
    m_endedChanged.NotifyAll();
}

void ProcessCall::Run()
{
    const qpr::NonInterruptibleSection section;
    try
    {
        Notify(Follow());
    }
    catch (const std::exception& error)
    {
        try
        {
            m_request.OnError(error);
        }
        catch (...) // the application's own
        {
        }
    }
    SetEnded();
}

std::optional<std::uint32_t> ProcessCall::Follow()
{
    using End = qpr::PipePair::End;
    qpr::PipePair input(End::Child, End::Child);
    qpr::PipePair output = qpr::PipePair::FromChild();
    input.client.Close();
    m_start.standardInput = input.server.Handle();
    m_start.standardOutput = output.client.Handle();
    m_start.standardError = output.client.Handle();

    LineLog lines(m_request);
    qpr::GenericOutputStream<LineLog, wchar_t> log(lines, logBufferSize);
    qxm::SupervisedProcess process(m_start, std::move(output.server), log);
    input.server.Close();
    output.client.Close();
    // Nothing tells the process that it is to end, so a cancel gives it no time for it.
    const qpr::ChildProcess::ExitStatus status = process.WaitForEnd(m_cancellation, 0);
    log.flush();
    lines.Finish();
    if (m_cancellation.IsCancelled())
        return std::nullopt;
    if (!status.isKnown)
        throw qpr::RuntimeError(L"Exit code of '" + m_start.executablePath + L"' is not known");
    return status.exitCode;
}

void ProcessCall::Notify(const std::optional<std::uint32_t>& exitCode)
{
    try
    {
        if (exitCode)
            m_request.OnCompleted(*exitCode);
        else
            m_request.OnCancelled();
    }
    catch (...) // the application's own
    {
    }
}

} // namespace QxClient
