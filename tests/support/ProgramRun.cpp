#include "support/ProgramRun.h"

#include "runtime/ChildProcess.h"
#include "runtime/NamedPipe.h"
#include "runtime/Thread.h"
#include "support/ChildMain.h"

#include <filesystem>
#include <ostream>

namespace test
{

namespace
{

/// Takes all that comes out of a pipe, on a thread of its own.
class Collector final : public qpr::IRunnable
{
public:
    Collector(qpr::NativeHandle handle, std::string& text)
        : m_reader(handle)
        , m_text(text)
    {
    }

    void Run() override
    {
        char piece[65536];
        while (const std::size_t size = m_reader.Read(piece, sizeof piece))
            m_text.append(piece, size);
    }
    void HandleError(const std::exception& error) override { m_text += error.what(); }

private:
    qpr::PipeReader m_reader;
    std::string& m_text;
};

/// Gives the input; a program that does not take it all is no error.
class Feeder final : public qpr::IRunnable
{
public:
    Feeder(qpr::PipeEnd end, const std::string& input)
        : m_end(std::move(end))
        , m_input(input)
    {
    }

    void Run() override
    {
        qpr::IOWriter(m_end.Handle()).Write(m_input.data(), m_input.size());
        m_end.Close();
    }
    void HandleError(const std::exception&) override { m_end.Close(); }

private:
    qpr::PipeEnd m_end;
    const std::string& m_input;
};

} // namespace

std::wstring ProgramPath(const std::wstring& name)
{
    const std::filesystem::path own = OwnPath();
    std::filesystem::path path = own.parent_path() / name;
    path += own.extension();
    return path.wstring();
}

std::ostream& operator<<(std::ostream& stream, const ProgramEnd& end)
{
    return stream << "exit code " << end.exitCode << "\noutput:\n" << end.output << "\nerrors:\n" << end.errors;
}

ProgramEnd RunProgram(const ProgramStart& start)
{
    qpr::PipePair input(false, true);
    qpr::PipePair output(true, false);
    qpr::PipePair errors(true, false);

    qpr::ProcessStart process;
    process.executablePath = ProgramPath(start.program);
    process.arguments = start.arguments;
    process.arguments.insert(process.arguments.begin(), start.program);
    process.environment = start.environment;
    process.standardInput = input.server.Handle();
    process.standardOutput = output.client.Handle();
    process.standardError = errors.client.Handle();
    qpr::ChildProcess child(process);
    input.server.Close();
    output.client.Close();
    errors.client.Close();

    ProgramEnd end;
    Feeder feeder(std::move(input.client), start.input);
    Collector outputCollector(output.server.Handle(), end.output);
    Collector errorCollector(errors.server.Handle(), end.errors);
    qpr::Thread feederThread(feeder);
    qpr::Thread outputThread(outputCollector);
    qpr::Thread errorThread(errorCollector);
    outputThread.WaitForCompletion();
    errorThread.WaitForCompletion();
    child.WaitForCompletion();
    end.exitCode = child.CollectExitStatus().exitCode;
    return end;
}

} // namespace test
