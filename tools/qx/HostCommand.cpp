#include "tools/qx/Commands.h"

#include "config/LocalHost.h"
#include "runtime/text/Utf8.h"
#include "tools/qx/ExitCode.h"
#include "tools/qx/Json.h"
#include "tools/qx/Program.h"

#include <iostream>
#include <memory>

namespace
{

qx::Json ToJson(const qxm::HostDescription& host)
{
    return {
        {"role", qx::ToJson(host.role)},
        {"identifier", qx::ToJson(host.identifier)},
        {"version", qx::ToJson(host.version.ToText())},
        {"hostName", qx::ToJson(host.hostName)},
        {"processId", host.processId},
        {"userName", qx::ToJson(host.userName)},
        {"osType", qx::ToJson(std::wstring_view(qxm::OSTypeKey(host.osType)))},
        {"cpuLayout", host.cpuLayout.IsNull() ? qx::Json() : qx::ToJson(host.cpuLayout.Value().ToText())},
        {"cpuCount", host.cpuCount},
        {"cpuType", qx::ToJson(std::wstring_view(qxm::CpuTypeKey(host.cpuType)))},
        {"cpuInfo", qx::ToJson(host.cpuInfo)},
        {"cpuScore", qx::ToJson(host.cpuScore)},
        {"memorySizeInMB", host.memorySizeInMB},
        {"laaAddressSpaceInMB", host.laaAddressSpaceInMB},
    };
}

int ShowHost(bool json)
{
    const qxm::HostDescription host = qxm::DescribeLocalHost(L"client");
    if (json)
        qx::Print(ToJson(host));
    else
        std::cout << qpr::ToUtf8(host.Write()) << '\n';
    return qx::ExitCode_Done;
}

} // namespace

void qx::AddHostCommand(Program& program)
{
    const auto json = std::make_shared<bool>(false);
    CLI::App& command = program.AddCommand("host", "Shows how this computer describes itself to a distributor",
        "qx host --json", [json] { return ShowHost(*json); });
    command.add_flag("--json", *json, "Print one JSON document");
}
