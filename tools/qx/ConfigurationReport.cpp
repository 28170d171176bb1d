#include "tools/qx/ConfigurationReport.h"

#include "runtime/text/Utf8.h"
#include "tools/qx/Table.h"

#include <iostream>

namespace qx
{

namespace
{

Json ServiceToJson(const qxm::LocalServiceInfo& service)
{
    const qxm::ServantInfo& servant = *service.servant;
    return {
        {"name", ToJson(service.name)},
        {"servantPath", ToJson(servant.executablePath)},
        {"is32Bit", servant.is32Bit},
        {"addressSpaceInMB", servant.addressSpaceInMB},
        {"servantLibraryVersion",
            servant.libraryVersion.IsNull() ? Json(nullptr) : ToJson(servant.libraryVersion.Value().ToText())},
        {"expectedProcessorUsage", ToJson(service.expectedProcessorUsage)},
        {"expectedMemoryUsageInMB", ToJson(service.expectedMemoryUsageInMB)},
        {"expectedResourceUsageHelpers", ToJson(service.expectedResourceUsageHelpers)},
        {"crashDumpFlags", ToJson(servant.crashDumpFlags)},
        {"crashDumpDirectory", ToJson(servant.crashDumpDirectory)},
    };
}

std::string OrDash(std::wstring_view text)
{
    return text.empty() ? "-" : qpr::ToUtf8(text);
}

} // namespace

Json ToJson(const qxm::DistributorSettings& distributor)
{
    return {{"host", ToJson(distributor.host)}, {"clientPort", ToJson(distributor.clientPort)}};
}

Json ToJson(const qxm::Configuration& configuration)
{
    Json services = Json::array();
    for (const auto& [name, service] : configuration.services)
        services.push_back(ServiceToJson(*service));
    return {{"services", services}, {"distributor", ToJson(configuration.distributor)}};
}

void PrintServices(const qxm::ServicesMap& services)
{
    if (services.empty())
    {
        std::cout << "No services are offered on this computer.\n";
        return;
    }
    Table table({{"SERVICE"}, {"BITS", Table::Alignment_Right}, {"PROCESSORS"}, {"MEMORY MB"}, {"SERVANT"}});
    for (const auto& [name, service] : services)
    {
        table.AddRow(
            {qpr::ToUtf8(name), service->servant->is32Bit ? "32" : "64", OrDash(service->expectedProcessorUsage),
                OrDash(service->expectedMemoryUsageInMB), qpr::ToUtf8(service->servant->executablePath)});
    }
    table.Print();
}

void PrintDistributor(const qxm::DistributorSettings& distributor)
{
    std::cout << "Distributor: " << Printable(qpr::ToUtf8(distributor.host)) << ", port "
              << Printable(qpr::ToUtf8(distributor.clientPort)) << '\n';
}

} // namespace qx
