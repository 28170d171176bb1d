#include "random/Places.h"
#include "random/servant/OutputPlan.h"
#include "runtime/channels/NamedPipe.h"
#include "runtime/channels/StandardStreams.h"
#include "runtime/processes/CurrentProcess.h"
#include "runtime/text/Utf8.h"
#include "runtime/threads/Thread.h"
#include "streams/ByteStreams.h"
#include "streams/compression/BlockedQLZ14.h"
#include "streams/compression/BlockedRawDeflate.h"
#include "support/ProcessActs.h"

#include <qxservant/Servant.h>

#include <algorithm>
#include <iostream>
#include <memory>
#include <optional>
#include <stdexcept>

// The servant of the random calls. It draws its plan from the seed that stands under its service's name and carries it
// out, with the servant kit or with nothing but its standard streams.

namespace
{

using test::Answer;
using test::Form;
using test::Step;

constexpr int writeFailed = 9;

/// What a plan is carried out over.
class Channel
{
public:
    virtual ~Channel() = default;

    /// 0 at the end.
    virtual std::size_t Read(char* buffer, std::size_t size) = 0;

    /// The next piece of the output, or a half frame.
    virtual void Write(const Step& step) = 0;
    virtual void Log(const std::string& text) = 0;
    virtual void Close(Step::Kind which) = 0;
};

class KitChannel final : public Channel
{
public:
    KitChannel(qxservant::Connection& connection, const test::ServantPlan& plan)
        : m_connection(connection)
        , m_output(test::MakePayload(plan.output))
        , m_flushesAlways(plan.end != test::ServantPlan::End::Exit) // what it kept back would be lost with it
    {
    }

    std::size_t Read(char* buffer, std::size_t size) override
    {
        return static_cast<std::size_t>(
            m_connection.Input().rdbuf()->sgetn(buffer, static_cast<std::streamsize>(size)));
    }

    void Write(const Step& step) override
    {
        m_connection.Output().write(m_output.data() + m_written, static_cast<std::streamsize>(step.amount));
        m_written += step.amount;
        if (m_flushesAlways || step.amount % 4 != 0)
            m_connection.Output().flush();
    }

    void Log(const std::string& text) override { m_connection.Log() << text << std::flush; }
    void Close(Step::Kind) override { }

private:
    qxservant::Connection& m_connection;
    const std::string m_output;
    const bool m_flushesAlways;
    std::size_t m_written = 0;
};

class RawChannel final : public Channel
{
public:
    explicit RawChannel(const test::ServantPlan& plan)
        : m_pieces(test::MakeOutputPieces(plan))
    {
        if (plan.form == Form::Deflate)
            m_reader = std::make_unique<qpr::BlockedRawDeflateReader>(m_stream);
        else if (plan.form == Form::QuickLz)
            m_reader = std::make_unique<qpr::BlockedQLZ14Reader>(m_stream);
    }

    std::size_t Read(char* buffer, std::size_t size) override
    {
        return m_reader ? m_reader->Read(buffer, size) : m_input.Read(buffer, size);
    }

    void Write(const Step&) override { Send(m_pieces[m_nextPiece++]); }

    void Send(const std::string& bytes) { m_output->Write(bytes.data(), bytes.size()); }

    void Log(const std::string& text) override { std::cerr << text << std::flush; }

    void Close(Step::Kind which) override
    {
        if (which == Step::Kind::CloseOutput)
            m_output.reset(); // which may have a handle of its own
        qpr::PipeEnd(qpr::HandleOf(which == Step::Kind::CloseInput ? qpr::StandardStream::Input
                             : which == Step::Kind::CloseOutput    ? qpr::StandardStream::Output
                                                                   : qpr::StandardStream::Error))
            .Close();
    }

private:
    const std::vector<std::string> m_pieces;
    std::size_t m_nextPiece = 0;
    qpr::StandardInput m_input;
    std::optional<qpr::StandardOutput> m_output{std::in_place};
    qpr::GenericInputStream<qpr::StandardInput> m_stream{m_input, 65536};
    std::unique_ptr<qpr::IReader> m_reader;
};

/// Carries the plan out and tells what came of it.
class Performance
{
public:
    Performance(std::string program, std::string service, const test::ServantPlan& plan)
        : m_program(std::move(program))
        , m_service(std::move(service))
        , m_plan(plan)
    {
    }

    /// The exit code, unless the plan ends in another way.
    int Run(Channel& channel)
    {
        try
        {
            for (const Step& step : m_plan.steps)
                Take(step, channel);
            m_report.isComplete = true;
        }
        catch (...)
        {
            Tell();
            throw;
        }
        if (m_plan.child)
            LeaveChild(*m_plan.child);
        Tell();
        if (m_plan.end == test::ServantPlan::End::Signal)
            test::EndBySignal(m_plan.endCode);
        if (m_plan.end == test::ServantPlan::End::Throw)
            throw std::runtime_error("the service gives up");
        return m_plan.endCode;
    }

private:
    void Take(const Step& step, Channel& channel)
    {
        switch (step.kind)
        {
        case Step::Kind::Read:
            return Read(step.amount, channel);
        case Step::Kind::Write:
        case Step::Kind::HalfFrame:
            return channel.Write(step);
        case Step::Kind::Sleep:
            return qpr::Thread::Sleep(static_cast<std::uint32_t>(step.amount));
        case Step::Kind::Log:
            return channel.Log(test::MakeLogText(static_cast<test::LogText>(step.amount)));
        default:
            return channel.Close(step.kind);
        }
    }

    void Read(std::size_t amount, Channel& channel)
    {
        while (amount != 0)
        {
            const std::size_t size = channel.Read(m_buffer.data(), std::min(amount, m_buffer.size()));
            if (size == 0)
                return;
            m_report.received += size;
            m_report.hash = test::HashOf({m_buffer.data(), size}, m_report.hash);
            amount -= size;
        }
    }

    void LeaveChild(const test::LeftChild& child)
    {
        test::LeaveChild(
            {{m_program, "linger", m_service, child.writes ? "writing" : "silent", std::to_string(child.lifeMs)},
                child.isInGroup, child.holdsOutput, child.holdsLog});
    }

    void Tell() const { test::Places::FromEnvironment().WriteReport(m_service, m_report); }

    const std::string m_program;
    const std::string m_service;
    const test::ServantPlan& m_plan;
    test::ServantReport m_report{0, test::HashOf({}), false};
    std::string m_buffer = std::string(65536, '\0');
};

void GiveAnswer(RawChannel& channel, const std::string& service, const test::ServantPlan& plan)
{
    static constexpr const char* protocols[] = {
        "", " CompressionProtocol=BlockedRawDeflate", " CompressionProtocol=BlockedQLZ14"};
    const std::string start = "servant me executing ";
    const std::string answer = start + service + protocols[static_cast<int>(plan.form)] + "\n";
    switch (plan.answer)
    {
    case Answer::None:
        return;
    case Answer::Late:
        qpr::Thread::Sleep(300);
        break;
    case Answer::InPieces:
        for (const char byte : answer)
        {
            channel.Send({byte});
            qpr::Thread::Sleep(2);
        }
        return;
    case Answer::ForAnother:
        return channel.Send(start + "another\n");
    case Answer::Rubbish:
        return channel.Send("what? \x1b[31m\x07 'no\n");
    case Answer::NotUtf8:
        return channel.Send("servant \x80\xFF\n");
    case Answer::Endless:
        return channel.Send(std::string(70'000, 'x'));
    case Answer::UnknownProtocol:
        return channel.Send(start + service + " CompressionProtocol=zlib\n");
    default:
        break;
    }
    channel.Send(answer);
}

int RunRaw(Performance& performance, const std::string& service, const test::ServantPlan& plan)
{
    try
    {
        RawChannel channel(plan);
        GiveAnswer(channel, service, plan);
        return performance.Run(channel);
    }
    catch (const std::exception&)
    {
        return writeFailed;
    }
}

/// What a servant has left behind.
int Linger(const std::vector<std::string>& words)
{
    test::WaitForParentEnd();
    qpr::Thread::Sleep(300); // what comes at once may count as the servant's own
    if (words[3] == "writing")
    {
        qpr::StandardOutput().Write("left behind", 11);
        test::Places::FromEnvironment().NoteChildWrites(words[2]); // unless nobody could read it any more
    }
    qpr::Thread::Sleep(static_cast<std::uint32_t>(std::stoul(words[4])));
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    qpr::ReserveStandardStreams();
    const std::vector<std::string> words = qpr::ProgramArguments(argc, argv);
    if (words.size() == 5 && words[1] == "linger")
        return Linger(words);
    const std::string& service = words.at(2);
    const test::CallPlan plan = test::MakePlan(test::Places::FromEnvironment().ReadSeed(service));
    Performance performance(words[0], service, plan.servant);
    if (!plan.servant.usesKit)
        return RunRaw(performance, service, plan.servant);
    static constexpr const wchar_t* protocols[] = {L"", L"BlockedRawDeflate", L"BlockedQLZ14"};
    return qxservant::Run(argc, argv,
        {{qpr::FromUtf8(service),
            [&](qxservant::Connection& connection)
            {
                KitChannel channel(connection, plan.servant);
                return performance.Run(channel);
            },
            protocols[static_cast<int>(plan.servant.form)]}});
}
