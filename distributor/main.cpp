#include "config/LocalHost.h"
#include "distributor/CallJournal.h"
#include "distributor/Distributor.h"
#include "distributor/Options.h"
#include "distributor/ProcessStarter.h"
#include "distributor/ServiceCatalogue.h"
#include "runtime/InterruptSignal.h"
#include "runtime/ProgramArguments.h"
#include "runtime/StandardStreams.h"

#include <algorithm>
#include <iostream>

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

qpr::SocketAddress ListenAddress(const qxd::Options& options, const qxm::DistributorSettings& settings)
{
    return qpr::SocketAddress::Resolve(options.listenHost.empty() ? L"127.0.0.1" : options.listenHost,
        options.listenPort.empty() ? settings.clientPort : options.listenPort);
}

void Serve(const qxd::Options& options)
{
    const qpr::InterruptSignal interrupt;
    const qxm::HostDescription host = DescribeHost(options);
    const qxd::ServiceCatalogue catalogue(options.configurationPath, host);
    const std::uint32_t processors = static_cast<std::uint32_t>(std::clamp<std::uint64_t>(host.cpuCount, 1, 65536));

    qpr::StandardOutput output;
    qxd::CallJournal journal(output);
    qxd::ProcessStarter starter;
    qxd::Distributor distributor(ListenAddress(options, catalogue.Distributor()), host,
        options.slots.IsNull() ? processors : options.slots.Value(), catalogue, starter, journal);
    const qpr::SocketAddress address = distributor.Address();
    journal.WriteLine(L"qx-distributor listening on " + address.ToText() + L":" + std::to_wstring(address.Port()));
    distributor.Run(interrupt.Object());
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
        if (!end.IsError())
        {
            std::cout << end.what() << std::flush;
            return 0;
        }
        std::cerr << "qx-distributor: " << end.what() << std::endl;
        return 2;
    }
    catch (const std::exception& error)
    {
        std::cerr << "qx-distributor: " << error.what() << std::endl;
        return 1;
    }
}
