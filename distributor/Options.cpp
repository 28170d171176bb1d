#include "distributor/Options.h"

#include "config/Version.h"
#include "runtime/text/Utf8.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <sstream>

namespace qxd
{
namespace
{

/// Goes into a host description's line as it is.
std::string CheckHostName(const std::string& name)
{
    const auto isUnfit = [](char character)
    { return static_cast<unsigned char>(character) <= ' ' || character == '"' || character == '\''; };
    return name.empty() || std::ranges::any_of(name, isUnfit) ? "a host name has no white space and no quotes" : "";
}

std::string CheckListenAddress(const std::string& address)
{
    const std::size_t colon = address.rfind(':');
    if (colon == std::string::npos || colon == 0 || colon + 1 == address.size())
        return "an address is ADDRESS:PORT";
    const std::string port = address.substr(colon + 1);
    const bool isNumber = port.find_first_not_of("0123456789") == std::string::npos;
    return isNumber && (port.size() > 5 || std::stoul(port) > 65535) ? "a port is a number up to 65535" : "";
}

void Understand(CLI::App& commandLine, const std::vector<std::string>& arguments)
{
    std::vector<const char*> pointers;
    pointers.reserve(arguments.size());
    for (const std::string& argument : arguments)
        pointers.push_back(argument.c_str());
    try
    {
        commandLine.parse(static_cast<int>(pointers.size()), pointers.data());
    }
    catch (const CLI::ParseError& error)
    {
        if (error.get_exit_code() != 0)
            throw CommandLineEnd(error.what(), CommandLineEnd::wrongCommandLine);
        std::ostringstream text;
        commandLine.exit(error, text, text);
        throw CommandLineEnd(text.str(), CommandLineEnd::textAskedFor);
    }
}

} // namespace

Options Options::Parse(const std::vector<std::string>& arguments)
{
    CLI::App commandLine("Runs the services of a configuration file for clients on the network.");
    commandLine.name("qx-distributor");
    commandLine.set_version_flag("--version", "qx-distributor " + qpr::ToUtf8(qxm::libraryVersion.ToText()));
    commandLine.footer("Example:\n  qx-distributor --config QxConfiguration.xml --listen 127.0.0.1:0\n\n"
                       "The protocol has no authentication: whoever can connect can run the services.");
    commandLine.allow_windows_style_options(false);

    std::string configuration;
    std::string listenAddress;
    std::string hostName;
    std::uint32_t slots = 0;
    commandLine.add_option("--config", configuration, "The configuration file with the services")
        ->required()
        ->type_name("FILE");
    commandLine
        .add_option("--listen", listenAddress,
            "Where to listen (default: loopback and the file's client port; with port 0 the system chooses one)")
        ->type_name("ADDRESS:PORT")
        ->check(CheckListenAddress);
    const CLI::Option* const slotsOption =
        commandLine.add_option("--slots", slots, "How many calls may run at a time (default: one per processor)")
            ->type_name("N")
            ->check(CLI::Range(1u, 65536u));
    commandLine.add_option("--host-name", hostName, "The name that clients see (default: this computer's)")
        ->type_name("NAME")
        ->check(CheckHostName);
    Understand(commandLine, arguments);

    Options options;
    options.configurationPath = qpr::FromUtf8(configuration);
    const std::size_t colon = listenAddress.rfind(':');
    if (colon != std::string::npos)
    {
        options.listenHost = qpr::FromUtf8(listenAddress.substr(0, colon));
        options.listenPort = qpr::FromUtf8(listenAddress.substr(colon + 1));
    }
    if (*slotsOption)
        options.slots = slots;
    options.hostName = qpr::FromUtf8(hostName);
    return options;
}

} // namespace qxd
