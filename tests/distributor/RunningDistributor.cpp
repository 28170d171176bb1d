#include "distributor/RunningDistributor.h"

#include "config/LocalHost.h"
#include "runtime/processes/CurrentProcess.h"
#include "support/ChildMain.h"

#include <gtest/gtest.h>

#include <atomic>
#include <fstream>
#include <map>

namespace test
{

void JournalLines::Write(const void* buffer, std::size_t size)
{
    const std::lock_guard lock(m_lock);
    m_lines.emplace_back(static_cast<const char*>(buffer), size);
    m_changed.notify_all();
}

std::vector<std::string> JournalLines::WaitFor(std::size_t count)
{
    std::unique_lock lock(m_lock);
    m_changed.wait(lock, [&] { return m_lines.size() >= count; });
    return {m_lines.begin(), m_lines.begin() + static_cast<std::ptrdiff_t>(count)};
}

TestConfiguration::TestConfiguration()
{
    static std::atomic<int> counter;
    m_directory = std::filesystem::temp_directory_path()
        / ("qx-distributor-test-" + std::to_string(qpr::CurrentProcess::GetId()) + "-" + std::to_string(++counter));
    std::filesystem::create_directory(m_directory);
    const std::filesystem::path servant = std::filesystem::relative(std::filesystem::absolute(OwnPath()), m_directory);
    std::ofstream(m_directory / "QxConfiguration.xml")
        << R"(<QxConfiguration><Servants>
<Servant RelativePath=")"
        << servant.string() << R"(" TargetPlatform="WinX64" QxServantLibraryVersion="15.1.1.1"><Services>
<Service Name="Echo"/><Service Name="Hold"/><Service Name="Flood"/><Service Name="Fail"/>
<Service Name="Sink"/><Service Name="Crash"/><Service Name="Vanish"/><Service Name="Remote"/><Service Name="Work">
<ExpectedProcessorUsage>P</ExpectedProcessorUsage><ExpectedMemoryUsageInMB>600</ExpectedMemoryUsageInMB></Service>
<Service Name="Arguments" CompressionMode="zlib">
<ExpectedProcessorUsage>Size</ExpectedProcessorUsage>
<ExpectedMemoryUsageInMB>ProcessorCount</ExpectedMemoryUsageInMB>
</Service></Services></Servant>
<Servant RelativePath="missing" TargetPlatform="WinX64"><Services><Service Name="Missing"/></Services></Servant>
</Servants></QxConfiguration>)";
}

TestConfiguration::~TestConfiguration()
{
    std::filesystem::remove_all(m_directory);
}

qxm::HostDescription HostNamed(const std::wstring& role, const std::wstring& hostName)
{
    qxm::HostDescription host = qxm::DescribeLocalHost(role);
    host.hostName = hostName;
    host.identifier = hostName + L"/7";
    return host;
}

const std::wstring& ClientLine(const std::wstring& hostName)
{
    static std::map<std::wstring, std::wstring> lines;
    return lines.try_emplace(hostName, HostNamed(L"client", hostName).Write()).first->second;
}

RunningDistributor::RunningDistributor(std::uint32_t slots, std::size_t clients)
    : m_services(qxm::ReadConfiguration(m_configuration.Path(), HostNamed(L"distributor", L"there")).services)
    , m_distributor(qpr::SocketAddress::Loopback(0), HostNamed(L"distributor", L"there"), {slots, clients}, m_services,
          m_starter, m_journal)
    , m_thread(*this)
{
}

RunningDistributor::~RunningDistributor()
{
    m_stop.Signal();
}

void RunningDistributor::Stop()
{
    m_stop.Signal();
    m_thread.WaitForCompletion();
}

void RunningDistributor::HandleError(const std::exception& error)
{
    ADD_FAILURE() << "distributor: " << error.what();
}

qxm::DistributorRequest RunningDistributor::Request(
    qxm::DistributorServiceRequest request, const std::wstring& clientHost) const
{
    return qxm::DistributorRequest(
        Address().ToText(), std::to_wstring(Address().Port()), std::move(request), ClientLine(clientHost), {});
}

} // namespace test
