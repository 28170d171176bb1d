#pragma once

#include "distributor/CallJournal.h"
#include "distributor/Distributor.h"
#include "distributor/ProcessStarter.h"
#include "protocol/DistributorRequest.h"
#include "runtime/threads/IRunnable.h"
#include "runtime/threads/Thread.h"
#include "runtime/threads/ThreadEvent.h"
#include "support/SocketText.h"

#include <condition_variable>
#include <filesystem>
#include <mutex>
#include <string>
#include <vector>

namespace test
{

/// Journal lines, as they come.
class JournalLines final : public qpr::IWriter
{
public:
    void Write(const void* buffer, std::size_t size) override;
    void Flush() override { }

    /// The first so many lines, waited for.
    std::vector<std::string> WaitFor(std::size_t count);

private:
    std::mutex m_lock;
    std::condition_variable m_changed;
    std::vector<std::string> m_lines;
};

/// A configuration file for the test servant, in a directory of its own.
class TestConfiguration
{
public:
    TestConfiguration();
    ~TestConfiguration();

    std::wstring Path() const { return (m_directory / "QxConfiguration.xml").wstring(); }

private:
    std::filesystem::path m_directory;
};

qxm::HostDescription HostNamed(const std::wstring& role, const std::wstring& hostName);

/// The host description's line of a client on that computer.
const std::wstring& ClientLine(const std::wstring& hostName);

/// The real distributor on a thread of this process, on a computer called "there".
class RunningDistributor final : private qpr::IRunnable
{
public:
    explicit RunningDistributor(std::uint32_t slots = 2, std::size_t clients = 1000);
    ~RunningDistributor();

    /// Returns when the distributor has wound down.
    void Stop();
    void AskToStop() { m_stop.Signal(); }

    qpr::SocketAddress Address() const { return m_distributor.Address(); }
    JournalLines& Journal() { return m_lines; }

    qxm::DistributorRequest Request(
        qxm::DistributorServiceRequest request, const std::wstring& clientHost = L"here") const;
    qxm::DistributorRequest Request(const std::wstring& serviceName) const
    {
        return Request({serviceName, {}, true, false});
    }

private:
    void Run() override { m_distributor.Run(m_stop.Object()); }
    void HandleError(const std::exception& error) override;

    TestConfiguration m_configuration;
    JournalLines m_lines;
    qxd::CallJournal m_journal{m_lines};
    qxd::ProcessStarter m_starter;
    qpr::ThreadEvent m_stop{qpr::ThreadEvent::Kind_ManualReset};
    const qxm::ServicesMap m_services;
    qxd::Distributor m_distributor;
    qpr::Thread m_thread;
};

} // namespace test
