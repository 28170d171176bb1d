#include "random/CallRun.h"

#include "config/LocalHost.h"
#include "runtime/text/Utf8.h"
#include "support/ChildMain.h"
#include "support/DistributorProgram.h"
#include "support/ProcessControl.h"
#include "support/ProcessTable.h"

#include <algorithm>
#include <chrono>
#include <fstream>
#include <functional>
#include <iterator>
#include <sstream>
#include <thread>

namespace test
{

namespace
{

using Clock = std::chrono::steady_clock;
using Client = ClientPlan::Program;
using Intervention = ClientPlan::Intervention;

constexpr std::uint32_t lookMs = 100; // for what is left: each look reads the table of all processes

std::uint32_t MsSince(Clock::time_point start)
{
    return static_cast<std::uint32_t>(
        std::chrono::duration_cast<std::chrono::milliseconds>(Clock::now() - start).count());
}

std::string ReadFile(const std::filesystem::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

/// Time beyond what is planned: as long as the computer takes for so much of its idle time.
class Slack
{
public:
    Slack(const LoadProbe& probe, std::uint32_t milliseconds)
        : m_probe(probe)
        , m_endUs(probe.NowUs() + milliseconds * std::uint64_t(1000))
    {
    }

    bool IsOver() const { return m_probe.NowUs() > m_endUs; }

private:
    const LoadProbe& m_probe;
    const std::uint64_t m_endUs;
};

/// One call's client with what is done to it.
class CallRun
{
public:
    CallRun(const CallPlan& plan, const std::string& service, const Surroundings& surroundings)
        : m_plan(plan)
        , m_service(service)
        , m_surroundings(surroundings)
        , m_expected(ExpectationOf(plan))
    {
        surroundings.places.WriteSeed(service, plan.seed);
        StartDistributor();
    }

    RunEnd Run()
    {
        const auto start = Clock::now();
        RunningProgram program(Start());
        RunEnd end;
        end.processId = program.ProcessId();
        for (const Action& action : Actions(program))
        {
            if (EndsBy(program, start, action.atMs))
                break;
            action.act();
        }
        end.isInTime = EndsBy(program, start, m_expected.delaysMs);
        for (const Slack slack(m_surroundings.probe, m_surroundings.slackMs); !end.isInTime && !slack.IsOver();)
            end.isInTime = program.EndsWithin(50);
        end.durationMs = MsSince(start);
        if (!end.isInTime)
            program.Kill();
        end.program = program.WaitForEnd();
        Collect(end);
        return end;
    }

private:
    struct Action
    {
        std::uint32_t atMs;
        std::function<void()> act;
    };

    void StartDistributor()
    {
        std::wstring port = m_surroundings.distributorPort;
        if (HasMissingServant(m_plan.way))
            port = m_surroundings.portWithoutServants;
        if (HasDyingDistributor(m_plan.way))
        {
            m_distributor.emplace(WriteConfiguration(m_surroundings, m_service + ".there", L"1", Servants::Present), 4,
                L"0", L"elsewhere", Environment());
            port = m_distributor->Port();
        }
        m_configuration = WriteConfiguration(m_surroundings, m_service + ".here", port,
            m_plan.way == Way::HybridNotOffered ? Servants::None : Servants::Present);
    }

    std::map<std::wstring, std::wstring> Environment() const
    {
        return {{placesVariable, m_surroundings.places.Directory().wstring()}};
    }

    std::wstring PathOf(const std::string& suffix) const
    {
        return (m_surroundings.places.Directory() / (m_service + suffix)).wstring();
    }

    ProgramStart Start()
    {
        const ClientPlan& client = m_plan.client;
        const std::wstring service = qpr::FromUtf8(m_service);
        const std::wstring attribute = L"P=" + qpr::FromUtf8(Processors());
        ProgramStart start{L"qx", {}, {}, Environment(), client.inputStaysOpen, client.inputPace, client.outputPace,
            client.outputLimit};
        if (client.program == Client::Library)
        {
            start.program = L"qx-random-client";
            start.arguments = {Connector(), service, qpr::FromUtf8(Processors())};
            return start;
        }
        start.arguments = {client.program == Client::Call ? L"call" : L"batch", L"--connector", Connector()};
        if (client.program == Client::Call)
        {
            start.input = MakePayload(client.input);
            if (client.intervention == Intervention::TimeOut)
                Append(start, {L"--timeout", std::to_wstring(client.interveneAtMs / 1000.0)});
            if (client.logsToFile)
                Append(start, {L"--log", PathOf(".log")});
            Append(start, {service, attribute});
            return start;
        }
        Append(start,
            {L"--service", service, L"--attribute", attribute, L"--output-dir", PathOf(".out"), L"--joblog",
                PathOf(".joblog")});
        for (unsigned number = 0; number < client.calls; ++number)
        {
            const auto path = std::filesystem::path(PathOf(".in" + std::to_string(number)));
            std::ofstream(path, std::ios::binary) << MakePayload(client.input);
            Append(start, {path.wstring()});
        }
        return start;
    }

    static void Append(ProgramStart& start, const std::vector<std::wstring>& arguments)
    {
        start.arguments.insert(start.arguments.end(), arguments.begin(), arguments.end());
    }

    std::wstring Connector() const
    {
        const wchar_t* kind = L"HybridServiceConnector";
        if (m_plan.way == Way::Local)
            kind = L"LocalServiceConnector";
        if (m_plan.way == Way::Network || m_plan.way == Way::NetworkMissing || m_plan.way == Way::NetworkDying)
            kind = L"NetworkServiceConnector";
        std::wstring text = std::wstring(L"<") + kind + L" QxConfigurationPath='" + m_configuration + L"'";
        if (!std::wstring_view(kind).starts_with(L"Network"))
            text += m_plan.way == Way::HybridFull ? L" MaxRunningNoWaitCalls='0'" : L" MaxRunningNoWaitCalls='1000'";
        return text + L"/>";
    }

    std::string Processors() const
    {
        static const auto here = qxm::DescribeLocalHost(L"client").cpuCount;
        if (m_plan.way == Way::HybridTooLarge || m_plan.way == Way::HybridMissing || m_plan.way == Way::HybridDying)
            return "100000";
        return m_plan.way == Way::HybridFull ? std::to_string(here) : "1";
    }

    /// In the order of their times.
    std::vector<Action> Actions(RunningProgram& program)
    {
        const ClientPlan& client = m_plan.client;
        const std::uint32_t id = program.ProcessId();
        std::vector<Action> actions;
        if (client.stallForMs != 0)
        {
            actions.push_back({client.stallAtMs, [id] { SetStalled(id, true); }});
            actions.push_back({client.stallAtMs + client.stallForMs, [id] { SetStalled(id, false); }});
        }
        if (client.intervention == Intervention::Interrupt)
            actions.push_back({client.interveneAtMs, [id] { InterruptProcess(id); }});
        if (client.intervention == Intervention::Kill)
            actions.push_back({client.interveneAtMs, [&program] { program.Kill(); }});
        if (m_distributor)
            actions.push_back({m_plan.distributorDiesAtMs, [this] { EndDistributor(); }});
        std::ranges::stable_sort(actions, {}, &Action::atMs);
        return actions;
    }

    void EndDistributor()
    {
        if (KillResetsConnections())
            m_distributor->Kill();
        else
            InterruptProcess(m_distributor->ProcessId());
    }

    static bool EndsBy(RunningProgram& program, Clock::time_point start, std::uint32_t atMs)
    {
        const std::uint32_t nowMs = MsSince(start);
        return program.EndsWithin(nowMs < atMs ? atMs - nowMs : 0);
    }

    void Collect(RunEnd& end)
    {
        if (m_plan.client.program == Client::Library)
            CollectApplication(end);
        if (m_plan.client.program == Client::Batch)
            CollectBatch(end);
        end.log = ReadFile(PathOf(".log"));
        end.hasChildWritten = m_surroundings.places.HasChildWritten(m_service);
        WaitForProcesses(end);
        end.reports = m_surroundings.places.ReadReports(m_service);
        m_distributor.reset();
        m_surroundings.places.Clear(m_service);
    }

    void CollectApplication(RunEnd& end) const
    {
        std::istringstream lines(end.program.output);
        for (std::string number, told; std::getline(lines, number, '\t') && std::getline(lines, told);)
            end.calls.push_back(
                EndOfCall(m_surroundings.places.OutputOf(m_service, 0).replace_extension(".output" + number), told));
    }

    void CollectBatch(RunEnd& end) const
    {
        std::error_code none;
        const std::filesystem::directory_iterator files(PathOf(".out"), none);
        end.outputFiles = static_cast<std::size_t>(std::distance(begin(files), std::filesystem::end(files)));
        std::ifstream log(std::filesystem::path(PathOf(".joblog")));
        for (std::string line; std::getline(log, line);)
        {
            std::vector<std::string> fields;
            std::istringstream words(line);
            for (std::string field; std::getline(words, field, '\t');)
                fields.push_back(field);
            if (fields.size() == 7 && fields[0] != "seq")
                end.calls.push_back(EndOfCall(
                    std::filesystem::path(PathOf(".out")) / std::filesystem::path(fields[1]).filename().concat(".out"),
                    fields[6]));
        }
    }

    static CallEnd EndOfCall(const std::filesystem::path& output, std::string told)
    {
        if (told.ends_with('\r'))
            told.pop_back();
        return {told == "done", std::filesystem::exists(output), ReadFile(output), told};
    }

    /// Gives the servants the time that they may take to end.
    void WaitForProcesses(RunEnd& end) const
    {
        const auto start = Clock::now();
        for (std::optional<Slack> slack;;)
        {
            end.leftProcesses = LeftProcesses();
            if (end.leftProcesses.empty() || (slack && slack->IsOver()))
                return;
            if (!slack && MsSince(start) >= m_expected.remainsMs)
                slack.emplace(m_surroundings.probe, m_surroundings.slackMs / (m_expected.remainsMs == 0 ? 2 : 1));
            std::this_thread::sleep_for(std::chrono::milliseconds(lookMs));
        }
    }

    std::vector<std::string> LeftProcesses() const
    {
        std::vector<std::string> left;
        for (const SeenProcess& process : FindProcesses(m_service))
        {
            const auto& words = process.arguments;
            const bool isChild = words.size() > 1 && words[1] == "linger";
            const bool isServant = words.size() > 1 && words[1] == "execute";
            if (isServant || (isChild && m_plan.servant.child->isInGroup))
            {
                std::string line = std::to_string(process.id);
                for (const std::string& word : words)
                    line += " " + word;
                left.push_back(line);
            }
        }
        return left;
    }

    const CallPlan& m_plan;
    const std::string m_service;
    const Surroundings& m_surroundings;
    const Expectation m_expected;
    std::optional<DistributorProgram> m_distributor;
    std::wstring m_configuration;
};

} // namespace

RunEnd RunCall(const CallPlan& plan, const std::string& service, const Surroundings& surroundings)
{
    return CallRun(plan, service, surroundings).Run();
}

std::wstring WriteConfiguration(
    const Surroundings& surroundings, const std::string& name, const std::wstring& distributorPort, Servants servants)
{
    const auto& directory = surroundings.places.Directory();
    std::filesystem::path servant = std::filesystem::absolute(OwnPath()).parent_path()
        / (servants == Servants::Missing ? "no-such-servant" : "qx-random-servant");
    servant += std::filesystem::path(OwnPath()).extension();
    std::ostringstream text;
    text << "<QxConfiguration><Distributor Host='127.0.0.1' ClientPort='" << qpr::ToUtf8(distributorPort)
         << "'/><Servants><Servant TargetPlatform='WinX64' QxServantLibraryVersion='15.1.1.1' RelativePath='"
         << std::filesystem::relative(servant, directory).string() << "'><Services>";
    for (const std::string& service : surroundings.services)
    {
        if (servants != Servants::None)
            text << "<Service Name='" << service
                 << "'><ExpectedProcessorUsage>P</ExpectedProcessorUsage>"
                    "<ExpectedMemoryUsageInMB>1</ExpectedMemoryUsageInMB></Service>";
    }
    text << "</Services></Servant></Servants></QxConfiguration>";
    const auto path = directory / (name + ".xml");
    std::ofstream(path) << text.str();
    return path.wstring();
}

} // namespace test
