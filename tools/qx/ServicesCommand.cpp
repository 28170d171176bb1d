#include "tools/qx/Commands.h"

#include "tools/qx/ConfigurationReport.h"
#include "tools/qx/ConnectorOptions.h"
#include "tools/qx/ExitCode.h"
#include "tools/qx/Program.h"

#include <memory>

namespace
{

struct ServicesOptions
{
    qx::ConnectorOptions connector;
    bool json = false;
};

int ShowServices(const ServicesOptions& options)
{
    qxm::ConnectorConfiguration connector = options.connector.Connector();
    connector.kind = qxm::ConnectorKind::Local; // what is offered here does not depend on who asks
    const qxm::Configuration configuration = qx::ReadConfigurationOf(connector);
    if (options.json)
    {
        qx::Print(qx::ToJson(configuration));
        return qx::ExitCode_Done;
    }
    qx::PrintServices(configuration.services);
    qx::PrintDistributor(configuration.distributor);
    return qx::ExitCode_Done;
}

} // namespace

void qx::AddServicesCommand(Program& program)
{
    const auto options = std::make_shared<ServicesOptions>();
    CLI::App& command = program.AddCommand("services", "Shows the services that this computer offers",
        "qx services --config QxConfiguration.xml", [options] { return ShowServices(*options); });
    options->connector.AddTo(command);
    command.add_flag("--json", options->json, "Print one JSON document");
}
