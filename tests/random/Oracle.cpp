#include "random/Oracle.h"

#include <algorithm>
#include <regex>

namespace test
{

namespace
{

using Client = ClientPlan::Program;
using Intervention = ClientPlan::Intervention;

constexpr std::uint32_t done = 0;
constexpr std::uint32_t failed = 1;
constexpr std::uint32_t interrupted = 130;
constexpr std::uint32_t killed = 137;

class Oracle
{
public:
    Oracle(const CallPlan& plan, const RunEnd& end)
        : m_plan(plan)
        , m_end(end)
        , m_expected(ExpectationOf(plan))
        , m_input(MakePayload(plan.client.input))
        , m_output(MakePayload(plan.servant.output))
    {
    }

    std::vector<std::string> Ask()
    {
        Promise(m_end.isInTime,
            "ends in time (" + std::to_string(m_expected.delaysMs) + " ms of delays, "
                + std::to_string(m_end.durationMs) + " ms passed)");
        if (m_end.isInTime)
        {
            for (const std::string& process : m_end.leftProcesses)
                Promise(false, "leaves no process: " + process);
        }
        AskReports();
        if (!m_end.isInTime || m_end.program.exitCode == killed)
            return m_broken;
        AskExitCode();
        if (m_plan.client.program == Client::Call)
            AskOutput(m_end.program.output, m_end.program.exitCode == done && m_plan.client.outputLimit == toTheEnd);
        else
            AskCalls();
        if (m_end.program.exitCode == failed && m_plan.client.program != Client::Library)
            AskErrorText();
        if (m_end.program.exitCode == done && m_plan.client.logsToFile)
            Promise(
                WithoutReturns(m_end.log).ends_with(WithoutReturns(ExpectedLog(m_plan.servant))), "has all of the log");
        return m_broken;
    }

private:
    void Promise(bool isKept, const std::string& promise)
    {
        if (!isKept)
            m_broken.push_back(promise);
    }

    void AskExitCode()
    {
        const bool isInterrupted =
            m_plan.client.intervention != Intervention::None && m_plan.client.intervention != Intervention::TimeOut;
        switch (m_end.program.exitCode)
        {
        case done:
            return Promise(m_expected.mayBeDone && !(m_expected.childWrites && m_end.hasChildWritten),
                "fails a call that cannot be done");
        case failed:
            return Promise(m_expected.mayFail, "has a call done that nothing keeps from it");
        case interrupted:
            return Promise(isInterrupted, "is interrupted by nobody");
        default:
            Promise(m_plan.client.intervention == Intervention::Kill && m_end.program.exitCode == killed,
                "ends with 0, 1 or 130, not with " + std::to_string(m_end.program.exitCode));
        }
    }

    void AskOutput(const std::string& output, bool isDone)
    {
        if (!m_expected.hasAnswer)
            Promise(output.empty(), "takes nothing for data before a right answer");
        if (!m_expected.hasPlainData)
            return;
        Promise(m_output.starts_with(output),
            "gives the servant's data and nothing else (" + std::to_string(output.size()) + " bytes of "
                + std::to_string(m_output.size()) + ")");
        if (isDone)
            Promise(output.size() == m_output.size(),
                "gives all of the servant's data when done (" + std::to_string(output.size()) + " bytes of "
                    + std::to_string(m_output.size()) + ")");
    }

    void AskCalls()
    {
        if (m_end.program.exitCode == done)
            Promise(m_end.calls.size() == m_plan.client.calls, "tells of each call");
        for (const CallEnd& call : m_end.calls)
        {
            Promise(
                call.isDone || m_end.program.exitCode != done, "does not end with 0 when a call failed: " + call.told);
            Promise(call.hasOutput == call.isDone, "has an output for done calls alone: " + call.told);
            if (call.isDone)
                AskOutput(call.output, true);
            else
                AskWords(call.told);
        }
        const auto doneCalls = std::ranges::count_if(m_end.calls, &CallEnd::isDone);
        if (m_plan.client.program == Client::Batch)
            Promise(m_end.outputFiles == static_cast<std::size_t>(doneCalls), "leaves no part of an output");
        if (m_plan.client.program == Client::Library)
            Promise(
                m_end.program.output.find("left: ") == std::string::npos, "leaves nothing: " + m_end.program.output);
    }

    void AskReports()
    {
        const auto isWhole = [&](const ServantReport& report)
        { return report.isComplete && report.received == m_expected.inputTaken; };
        for (const ServantReport& report : m_end.reports)
            Promise(report.received <= m_input.size()
                    && report.hash == HashOf(std::string_view(m_input).substr(0, report.received)),
                "gives the servant the client's data and nothing else (" + std::to_string(report.received)
                    + " bytes of " + std::to_string(m_input.size()) + ")");
        // A distributor that dies may take a servant with it whose call was over.
        if (m_end.program.exitCode == done && m_end.isInTime && m_expected.mayBeDone
            && !HasDyingDistributor(m_plan.way))
            Promise(static_cast<std::size_t>(std::ranges::count_if(m_end.reports, isWhole)) >= m_plan.client.calls,
                "gives the servant all that it reads when done");
    }

    /// The last error, which begins a line.
    void AskErrorText()
    {
        const std::string lines = "\n" + WithoutReturns(m_end.program.errors);
        const std::size_t start = lines.rfind("\nqx: ");
        Promise(start != std::string::npos, "says at the beginning of a line why it failed");
        if (start == std::string::npos)
            return;
        const std::string text = lines.substr(start + 1);
        AskWords(text);
        Promise(std::ranges::none_of(
                    text, [](char byte) { return (byte >= 0 && byte < ' ' && byte != '\n') || byte == 0x7f; }),
            "shows outside bytes in printable form: " + text);
        if (m_plan.way == Way::NetworkMissing && m_plan.client.program == Client::Call
            && m_plan.client.intervention == Intervention::None)
            Promise(text.find("no-such-servant") != std::string::npos, "names the missing servant: " + text);
        static const std::regex servantEnd("ended with exit code \\d+|was ended by signal \\d+");
        if (m_expected.servantEndAlone && !HasMissingServant(m_plan.way) && m_plan.client.program == Client::Call)
            Promise(std::regex_search(text, servantEnd), "says how the servant ended: " + text);
    }

    void AskWords(const std::string& text)
    {
        static const std::regex foreign("basic_|iostream|std::|bad_alloc|_M_|vector|out_of_range|terminate");
        Promise(!text.empty() && !std::regex_search(text, foreign), "speaks the system's own words: " + text);
    }

    static std::string WithoutReturns(std::string text)
    {
        std::erase(text, '\r');
        return text;
    }

    const CallPlan& m_plan;
    const RunEnd& m_end;
    const Expectation m_expected;
    const std::string m_input;
    const std::string m_output;
    std::vector<std::string> m_broken;
};

} // namespace

std::vector<std::string> BrokenPromises(const CallPlan& plan, const RunEnd& end)
{
    return Oracle(plan, end).Ask();
}

} // namespace test
