#include "config/LocalHost.h"
#include "distributor/CallJournal.h"
#include "distributor/Distributor.h"
#include "distributor/Options.h"
#include "distributor/ProcessStarter.h"
#include "protocol/CompressionMode.h"
#include "runtime/channels/StandardStreams.h"
#include "runtime/processes/CurrentProcess.h"
#include "runtime/processes/InterruptSignal.h"
#include "runtime/text/Errors.h"

#include <algorithm>
#include <iostream>
#include <memory>

namespace
{

qxm::HostDescription DescribeHost(const qxd::Options& options)
{
    qxm::HostDescription host = qxm::DescribeLocalHost(L"distributor");
    if (!options.hostName.empty())
    {
        host.hostName = options.hostName;
        host.identifier = options.hostName + L"/" + std::to_wstring(host.processId);
    }
    return host;
}

/// What the system says at the end of a library's error text; all of a text without that.
std::wstring SystemsWords(const std::exception& error)
{
    const std::wstring text = qpr::ErrorText(error);
    const std::size_t number = text.find(L" error number = ");
    const std::size_t words = text.find(L": ", number);
    return number == std::wstring::npos || words == std::wstring::npos ? text : text.substr(words + 2);
}

/// The object first, for the person who started the program.
template <class Function>
auto Naming(const std::wstring& object, const std::wstring& remedy, Function function)
{
    try
    {
        return function();
    }
    catch (const std::exception& error)
    {
        throw qpr::RuntimeError(object + L": " + SystemsWords(error) + remedy);
    }
}

std::uint32_t Slots(const qxd::Options& options, std::uint64_t processors, std::size_t descriptors)
{
    const std::uint32_t most = qxd::Capacity::MaxSlots(descriptors);
    if (options.slots.IsNull())
        return static_cast<std::uint32_t>(std::clamp<std::uint64_t>(processors, 1, most));
    if (options.slots.Value() > most)
        throw qxd::CommandLineEnd("--slots: at most " + std::to_string(most) + " with the "
                + std::to_string(descriptors) + " descriptors that this process may open",
            qxd::CommandLineEnd::wrongCommandLine);
    return options.slots.Value();
}

/// What only a distributor reads of a service is checked before anybody can call it.
qxm::Configuration ReadCheckedConfiguration(const std::wstring& path, const qxm::HostDescription& host)
{
    qxm::Configuration configuration = qxm::ReadConfiguration(path, host);
    for (const auto& [name, service] : configuration.services)
        qxm::ParseCompressionMode(service->compressionMode);
    return configuration;
}

void Serve(const qxd::Options& options)
{
    const auto& interrupt = qpr::InterruptSignal::UntilExit();
    const std::size_t descriptors = qpr::CurrentProcess::RaiseDescriptorLimit();
    const qxm::HostDescription host = DescribeHost(options);
    const std::uint32_t slots = Slots(options, host.cpuCount, descriptors);
    const qxm::Configuration configuration = Naming(L"cannot read configuration '" + options.configurationPath + L"'",
        L"; name one with --config", [&] { return ReadCheckedConfiguration(options.configurationPath, host); });
    const std::wstring listenHost = options.listenHost.empty() ? L"127.0.0.1" : options.listenHost;
    const std::wstring listenPort =
        options.listenPort.empty() ? configuration.distributor.clientPort : options.listenPort;

    qpr::StandardOutput output;
    qxd::CallJournal journal(output);
    qxd::ProcessStarter starter;
    const auto distributor = Naming(L"cannot listen on " + listenHost + L":" + listenPort, L"",
        [&]
        {
            return std::make_unique<qxd::Distributor>(qpr::SocketAddress::Resolve(listenHost, listenPort), host,
                qxd::Capacity::Of(slots, descriptors), configuration.services, starter, journal);
        });
    const qpr::SocketAddress address = distributor->Address();
    journal.WriteLine(L"qx-distributor listening on " + address.ToText() + L":" + std::to_wstring(address.Port()));
    distributor->Run(interrupt.Object());
}

} // namespace

int main(int argc, char** argv)
{
    qpr::ReserveStandardStreams();
    qpr::ResetInheritedSignals();
    try
    {
        Serve(qxd::Options::Parse(qpr::ProgramArguments(argc, argv)));
        return 0;
    }
    catch (const qxd::CommandLineEnd& end)
    {
        if (end.ExitCode() == qxd::CommandLineEnd::textAskedFor)
            std::cout << end.what() << std::flush;
        else
            std::cerr << "qx-distributor: " << end.what() << std::endl;
        return end.ExitCode();
    }
    catch (const std::exception& error)
    {
        std::cerr << "qx-distributor: " << error.what() << std::endl;
        return 1;
    }
}
