#include "random/Places.h"

#include "runtime/processes/CurrentProcess.h"

#include <fstream>
#include <stdexcept>

namespace test
{

namespace
{

constexpr const char* reportSuffix = ".report";
constexpr const char* childSuffix = ".child";

} // namespace

Places Places::FromEnvironment()
{
    return Places(qpr::EnvironmentVariable(placesVariable).value());
}

void Places::WriteSeed(const std::string& service, std::uint64_t seed) const
{
    std::ofstream(PathOf(service, ".seed")) << seed;
}

std::uint64_t Places::ReadSeed(const std::string& service) const
{
    std::uint64_t seed = 0;
    if (!(std::ifstream(PathOf(service, ".seed")) >> seed))
        throw std::runtime_error("no seed for " + service);
    return seed;
}

void Places::WriteReport(const std::string& service, const ServantReport& report) const
{
    const auto path = PathOf(service, "." + std::to_string(qpr::CurrentProcess::GetId()));
    std::ofstream(path) << report.received << ' ' << report.hash << ' ' << report.isComplete;
    auto name = path;
    std::filesystem::rename(path, name += reportSuffix);
}

std::vector<ServantReport> Places::ReadReports(const std::string& service) const
{
    std::vector<ServantReport> reports;
    for (const auto& file : std::filesystem::directory_iterator(m_directory))
    {
        const std::string name = file.path().filename().string();
        ServantReport report;
        if (name.starts_with(service + ".") && name.ends_with(reportSuffix)
            && std::ifstream(file.path()) >> report.received >> report.hash >> report.isComplete)
            reports.push_back(report);
    }
    return reports;
}

void Places::NoteChildWrites(const std::string& service) const
{
    std::ofstream(PathOf(service, childSuffix)).flush();
}

bool Places::HasChildWritten(const std::string& service) const
{
    return std::filesystem::exists(PathOf(service, childSuffix));
}

std::filesystem::path Places::OutputOf(const std::string& service, unsigned call) const
{
    return PathOf(service, ".output" + std::to_string(call));
}

void Places::Clear(const std::string& service) const
{
    std::error_code ignored;
    for (const auto& file : std::filesystem::directory_iterator(m_directory))
    {
        if (file.path().filename().string().starts_with(service + "."))
            std::filesystem::remove_all(file.path(), ignored);
    }
}

std::filesystem::path Places::PathOf(const std::string& service, const std::string& suffix) const
{
    return m_directory / (service + suffix);
}

} // namespace test
