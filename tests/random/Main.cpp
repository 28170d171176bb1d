#include "config/TemporaryDirectory.h"
#include "random/Oracle.h"
#include "random/Random.h"
#include "runtime/channels/StandardStreams.h"
#include "runtime/processes/CurrentProcess.h"
#include "support/ChildMain.h"
#include "support/DistributorProgram.h"
#include "support/ProcessControl.h"
#include "support/ProcessTable.h"

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <map>
#include <mutex>
#include <random>
#include <regex>
#include <set>
#include <thread>

// Whole calls at random: draws a plan for each from its seed, carries many out at once beside one distributor, and
// tells which promises were broken and how to see it again.

namespace
{

struct Options
{
    std::uint64_t seed = std::random_device()();
    unsigned count = 300;
    unsigned first = 0;
    unsigned atOnce = 6;
    double patience = 1; ///< the time beyond the plans' delays is multiplied by it
    bool onlyDescribes = false;
};

/// The seed of one call.
std::uint64_t SeedOf(std::uint64_t seed, unsigned number)
{
    return test::Random(seed * 1'000'003 + number).Next();
}

Options ParseOptions(const std::vector<std::string>& words)
{
    Options options;
    if (const char* const patience = std::getenv("QX_TEST_PATIENCE"))
        options.patience = std::stod(patience);
    if (const char* const count = std::getenv("QX_RANDOM_CALLS_COUNT"))
        options.count = static_cast<unsigned>(std::stoul(count));
    for (std::size_t at = 1; at + 1 < words.size(); at += 2)
    {
        const std::string& name = words[at];
        const std::string& value = words[at + 1];
        if (name == "--seed")
            options.seed = std::stoull(value);
        else if (name == "--count")
            options.count = static_cast<unsigned>(std::stoul(value));
        else if (name == "--first")
            options.first = static_cast<unsigned>(std::stoul(value));
        else if (name == "--only" || name == "--describe")
        {
            options.first = static_cast<unsigned>(std::stoul(value));
            options.count = 1;
            options.onlyDescribes = name == "--describe";
        }
        else if (name == "--at-once")
            options.atOnce = static_cast<unsigned>(std::stoul(value));
        else if (name == "--patience")
            options.patience = std::stod(value);
        else if (name == "--programs")
            test::SetProgramDirectory(value);
        else
            throw std::runtime_error("unknown option " + name);
    }
    return options;
}

/// Calls made by several threads beside one distributor.
class Stress
{
public:
    explicit Stress(const Options& options)
        : m_options(options)
        , m_surroundings{
              test::Places(m_directory.Path()), {}, {}, {}, static_cast<std::uint32_t>(2000 * options.patience)}
    {
        m_surroundings.slackMs = static_cast<std::uint32_t>(2000 * options.patience);
        // Unique among all that runs on the computer; names come round again long after their servants have ended.
        for (unsigned number = 0; number < std::min(options.count, 256u); ++number)
            m_surroundings.services.push_back(m_directory.Path().filename().string() + "-" + std::to_string(number));
        m_distributor.emplace(test::WriteConfiguration(m_surroundings, "there", L"1", test::Servants::Present), 64,
            L"0", L"elsewhere",
            std::map<std::wstring, std::wstring>{{test::placesVariable, m_directory.Path().wstring()}});
        m_surroundings.distributorPort = m_distributor->Port();
        m_withoutServants.emplace(
            test::WriteConfiguration(m_surroundings, "missing", L"1", test::Servants::Missing), 64);
        m_surroundings.portWithoutServants = m_withoutServants->Port();
    }

    /// Whether all promises were kept.
    bool Run()
    {
        const auto resources = test::CountResources(m_distributor->ProcessId());
        {
            std::vector<std::jthread> workers;
            for (unsigned number = 0; number < std::min(m_options.atOnce, m_options.count); ++number)
                workers.emplace_back([this] { MakeCalls(); });
        }
        AskDistributor(resources);
        AskTable();
        std::cout << m_options.count << " calls";
        for (const auto& [end, count] : m_ends)
            std::cout << ", " << count << ' ' << end;
        std::cout << "; " << m_broken << " with broken promises" << std::endl;
        return m_broken == 0;
    }

private:
    void MakeCalls()
    {
        for (unsigned made = m_next++; made < m_options.count; made = m_next++)
        {
            const test::CallPlan plan = test::MakePlan(SeedOf(m_options.seed, m_options.first + made));
            std::vector<std::string> broken;
            test::RunEnd end;
            try
            {
                end = RunCall(plan, m_surroundings.services[made % m_surroundings.services.size()], m_surroundings);
                broken = test::BrokenPromises(plan, end);
            }
            catch (const std::exception& error)
            {
                broken = {std::string("the test itself: ") + error.what()};
            }
            const std::lock_guard lock(m_lock);
            m_clients.insert(end.processId);
            ++m_ends["with " + std::to_string(end.program.exitCode)];
            if (!broken.empty())
                Tell(m_options.first + made, plan, end, broken);
        }
    }

    void Tell(
        unsigned number, const test::CallPlan& plan, const test::RunEnd& end, const std::vector<std::string>& broken)
    {
        ++m_broken;
        std::cout << "\ncall " << number << ": --seed " << m_options.seed << " --only " << number << '\n'
                  << Describe(plan);
        std::cout << "ended with " << end.program.exitCode << " after " << end.durationMs << " ms\n";
        for (const std::string& promise : broken)
            std::cout << "BROKEN: " << promise << '\n';
        const std::string& errors = end.program.errors;
        std::cout << errors.substr(errors.size() - std::min<std::size_t>(errors.size(), 500)) << std::endl;
    }

    /// It has as much as in the beginning once its servants have ended, and ends in good order.
    void AskDistributor(const test::ResourceCount& before)
    {
        using namespace std::chrono;
        const auto limit = steady_clock::now() + milliseconds(5000 + m_surroundings.slackMs);
        auto now = test::CountResources(m_distributor->ProcessId());
        while (now != before && steady_clock::now() < limit)
        {
            std::this_thread::sleep_for(milliseconds(100));
            now = test::CountResources(m_distributor->ProcessId());
        }
        const bool isClean = now == before;
        test::InterruptProcess(m_distributor->ProcessId());
        const test::ProgramEnd end = m_distributor->WaitForEnd();
        if (isClean && end.exitCode == 0 && end.errors.empty())
            return;
        ++m_broken;
        std::cout << "\nthe distributor ended with " << end.exitCode << ", handles " << before.handles << " -> "
                  << now.handles << ", threads " << before.threads << " -> " << now.threads << ", children "
                  << before.children << " -> " << now.children << '\n'
                  << end.errors << std::endl;
    }

    /// No client has left its row in the work table, or one that was killed has, until 2 s later somebody looks.
    void AskTable()
    {
        std::this_thread::sleep_for(std::chrono::seconds(2));
        test::RunProgram({L"qx", {L"call", L"--config", (m_directory.Path() / "there.xml").wstring(), L"None"}});
        const std::string table = test::RunProgram({L"qx", {L"top", L"--once", L"--json"}}).output;
        static const std::regex row("\"processId\": *(\\d+)");
        for (std::sregex_iterator at(table.begin(), table.end(), row), end; at != end; ++at)
        {
            if (m_clients.count(static_cast<std::uint32_t>(std::stoul((*at)[1]))) == 0)
                continue;
            ++m_broken;
            std::cout << "\nthe work table still has the row of client " << (*at)[1] << std::endl;
        }
    }

    const Options m_options;
    const test::TemporaryDirectory m_directory;
    test::Surroundings m_surroundings;
    std::optional<test::DistributorProgram> m_distributor;
    std::optional<test::DistributorProgram> m_withoutServants;
    std::atomic<unsigned> m_next = 0;
    std::mutex m_lock;
    std::map<std::string, unsigned> m_ends;
    std::set<std::uint32_t> m_clients;
    unsigned m_broken = 0;
};

} // namespace

int main(int argc, char** argv)
{
    qpr::ReserveStandardStreams();
    const std::vector<std::string> words = qpr::ProgramArguments(argc, argv);
    if (const auto exitCode = test::RunAsChild(words))
        return *exitCode;
    try
    {
        const Options options = ParseOptions(words);
        if (options.onlyDescribes)
        {
            std::cout << Describe(test::MakePlan(SeedOf(options.seed, options.first)));
            return 0;
        }
        std::cout << "random calls, seed " << options.seed << std::endl;
        return Stress(options).Run() ? 0 : 1;
    }
    catch (const std::exception& error)
    {
        std::cerr << error.what() << std::endl;
        return 2;
    }
}
