#include "support/ProgramRun.h"

#include "runtime/channels/NamedPipe.h"
#include "runtime/processes/ChildProcess.h"
#include "runtime/threads/Thread.h"
#include "support/ChildMain.h"

#include <algorithm>
#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <ostream>

namespace test
{

namespace
{

std::filesystem::path programDirectory;

/// Takes all that comes out of a pipe, on a thread of its own.
class Collector final : public qpr::IRunnable
{
public:
    explicit Collector(qpr::PipeEnd end, const Pace& pace = {}, std::size_t limit = ~std::size_t(0))
        : m_end(std::move(end))
        , m_pace(pace)
        , m_limit(limit)
        , m_thread(*this)
    {
    }

    std::string WaitForText(const std::string& text)
    {
        std::unique_lock lock(m_lock);
        m_changed.wait(lock, [&] { return m_hasEnded || m_text.find(text) != std::string::npos; });
        return m_text;
    }

    /// All of it, once there can be no more.
    std::string Finish()
    {
        m_thread.WaitForCompletion();
        return m_text;
    }

    void Run() override
    {
        qpr::PipeReader reader(m_end.Handle());
        std::string piece(m_pace.pieceSize, '\0');
        std::size_t left = piece.size(); // till the next pause
        while (const std::size_t size = reader.Read(piece.data(), std::min(left, m_limit - m_text.size())))
        {
            Append(std::string_view(piece).substr(0, size), false);
            left -= size;
            if (left != 0)
                continue;
            left = piece.size();
            if (m_pace.pauseMs != 0)
                qpr::Thread::Sleep(m_pace.pauseMs);
        }
        m_end.Close();
        Append({}, true);
    }
    void HandleError(const std::exception& error) override { Append(error.what(), true); }

private:
    void Append(std::string_view piece, bool isEnd)
    {
        const std::lock_guard lock(m_lock);
        m_text += piece;
        m_hasEnded = isEnd;
        m_changed.notify_all();
    }

    qpr::PipeEnd m_end;
    const Pace m_pace;
    const std::size_t m_limit;
    std::mutex m_lock;
    std::condition_variable m_changed;
    std::string m_text;
    bool m_hasEnded = false;
    qpr::Thread m_thread; // last: starts when the rest is there, interrupted and joined first
};

/// Gives the input; a program that does not take it all is no error.
class Feeder final : public qpr::IRunnable
{
public:
    Feeder(qpr::PipeEnd end, const ProgramStart& start)
        : m_end(std::move(end))
        , m_input(start.input)
        , m_pace(start.inputPace)
        , m_staysOpen(start.inputStaysOpen)
        , m_thread(*this)
    {
    }

    void Close()
    {
        m_thread.WaitForCompletion();
        m_end.Close();
    }

    void Run() override
    {
        qpr::IOWriter writer(m_end.Handle());
        const std::size_t pieceSize = m_pace.pauseMs == 0 ? m_input.size() : m_pace.pieceSize;
        for (std::string_view left = m_input; !left.empty(); left.remove_prefix(std::min(pieceSize, left.size())))
        {
            writer.Write(left.data(), std::min(pieceSize, left.size()));
            if (m_pace.pauseMs != 0)
                qpr::Thread::Sleep(m_pace.pauseMs);
        }
        if (!m_staysOpen)
            m_end.Close();
    }
    void HandleError(const std::exception&) override { m_end.Close(); }

private:
    qpr::PipeEnd m_end;
    const std::string m_input;
    const Pace m_pace;
    const bool m_staysOpen;
    qpr::Thread m_thread;
};

std::unique_ptr<qpr::ChildProcess> StartProcess(
    const ProgramStart& start, qpr::NativeHandle input, qpr::NativeHandle output, qpr::NativeHandle errors)
{
    qpr::ProcessStart process;
    process.executablePath = ProgramPath(start.program);
    process.arguments = start.arguments;
    process.arguments.insert(process.arguments.begin(), start.program);
    process.environment = start.environment;
    process.standardInput = input;
    process.standardOutput = output;
    process.standardError = errors;
    return std::make_unique<qpr::ChildProcess>(process);
}

} // namespace

std::wstring ProgramPath(const std::wstring& name)
{
    const std::filesystem::path own = OwnPath();
    std::filesystem::path path = (programDirectory.empty() ? own.parent_path() : programDirectory) / name;
    path += own.extension();
    return path.wstring();
}

void SetProgramDirectory(const std::filesystem::path& directory)
{
    programDirectory = directory;
}

std::ostream& operator<<(std::ostream& stream, const ProgramEnd& end)
{
    return stream << "exit code " << end.exitCode << "\noutput:\n" << end.output << "\nerrors:\n" << end.errors;
}

/// The pipes are where they were made, and so keep their names from being given again, until the program is done with.
struct RunningProgram::State
{
    qpr::PipePair inputPipe = qpr::PipePair::ToChild();
    qpr::PipePair outputPipe = qpr::PipePair::FromChild();
    qpr::PipePair errorsPipe = qpr::PipePair::FromChild();
    std::unique_ptr<qpr::ChildProcess> process;
    std::unique_ptr<Feeder> input;
    std::unique_ptr<Collector> output;
    std::unique_ptr<Collector> errors;
};

RunningProgram::RunningProgram(const ProgramStart& start)
    : m_state(std::make_unique<State>())
{
    State& state = *m_state;
    state.process = StartProcess(
        start, state.inputPipe.server.Handle(), state.outputPipe.client.Handle(), state.errorsPipe.client.Handle());
    state.inputPipe.server.Close();
    state.outputPipe.client.Close();
    state.errorsPipe.client.Close();
    state.input = std::make_unique<Feeder>(std::move(state.inputPipe.client), start);
    state.output = std::make_unique<Collector>(std::move(state.outputPipe.server), start.outputPace, start.outputLimit);
    state.errors = std::make_unique<Collector>(std::move(state.errorsPipe.server));
}

RunningProgram::~RunningProgram() = default;

std::uint32_t RunningProgram::ProcessId() const
{
    return m_state->process->ProcessId();
}

void RunningProgram::Kill()
{
    m_state->process->Terminate();
}

std::string RunningProgram::WaitForOutput(const std::string& text)
{
    return m_state->output->WaitForText(text);
}

std::string RunningProgram::WaitForErrors(const std::string& text)
{
    return m_state->errors->WaitForText(text);
}

void RunningProgram::CloseInput()
{
    m_state->input->Close();
}

void RunningProgram::CloseOutput()
{
    m_state->output.reset();
}

bool RunningProgram::EndsWithin(std::uint32_t milliseconds)
{
    return qpr::Thread::TryWaitForObject(
        m_state->process->EndObject(), L"test::RunningProgram::EndsWithin", milliseconds);
}

ProgramEnd RunningProgram::WaitForEnd()
{
    ProgramEnd end;
    if (m_state->output)
        end.output = m_state->output->Finish();
    end.errors = m_state->errors->Finish();
    m_state->process->WaitForCompletion();
    end.exitCode = m_state->process->CollectExitStatus().exitCode;
    return end;
}

ProgramEnd RunProgram(const ProgramStart& start)
{
    return RunningProgram(start).WaitForEnd();
}

} // namespace test
