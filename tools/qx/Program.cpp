#include "tools/qx/Program.h"

#include "config/Version.h"
#include "runtime/Errors.h"
#include "runtime/Terminal.h"
#include "runtime/Thread.h"
#include "runtime/Utf8.h"
#include "tools/qx/ExitCode.h"
#include "tools/qx/FormulaPointer.h"

#include <iostream>

namespace qx
{

namespace
{

int Report(const std::string& text, ExitCode exitCode)
{
    std::cout.flush();
    std::cerr << "qx: " << text << std::endl;
    return exitCode;
}

} // namespace

Program::Program()
    : m_commandLine("Runs service calls and looks at what they need and use.")
{
    m_commandLine.name("qx");
    m_commandLine.set_version_flag("--version", "qx " + qpr::ToUtf8(qxm::libraryVersion.ToText()));
    m_commandLine.footer("Example:\n  echo hello | qx call --config QxConfiguration.xml Gzip | gunzip\n\n"
                         "'qx COMMAND --help' tells more about a command.");
    m_commandLine.require_subcommand(1);
    m_commandLine.allow_windows_style_options(false);
    m_commandLine.get_formatter()->column_width(34);
}

CLI::App& Program::AddCommand(
    const std::string& name, const std::string& description, const std::string& example, Action action)
{
    CLI::App* command = m_commandLine.add_subcommand(name, description);
    command->footer("Example:\n  " + example);
    command->final_callback([this, action = std::move(action)] { m_chosen = action; });
    return *command;
}

void Program::Understand(const std::vector<std::string>& arguments)
{
    std::vector<const char*> pointers;
    for (const std::string& argument : arguments)
        pointers.push_back(argument.c_str());
    m_commandLine.parse(static_cast<int>(pointers.size()), pointers.data());
}

int Program::Run(const std::vector<std::string>& arguments)
try
{
    Understand(arguments);
    const int exitCode = m_chosen();
    std::cout.flush();
    return std::cout ? exitCode : Report("the standard output cannot be written", ExitCode_Failed);
}
catch (const CLI::Success& request)
{
    return m_commandLine.exit(request);
}
catch (const CLI::ParseError& error)
{
    // Asked for first: that no command was given is then not what is wrong.
    const std::vector<std::string> unknown = m_commandLine.remaining();
    const bool isUnknownCommand = m_commandLine.get_subcommands().empty() && !unknown.empty();
    return Report(
        isUnknownCommand ? "there is no command '" + unknown[0] + "'" : error.what(), ExitCode_WrongCommandLine);
}
catch (const WrongCommandLine& error)
{
    return Report(error.what(), ExitCode_WrongCommandLine);
}
catch (const Interrupted&)
{
    return Report("interrupted", ExitCode_Interrupted);
}
catch (const qexpr::ParseError& error)
{
    Report(error.what(), ExitCode_Failed);
    if (qpr::IsTerminal(qpr::StandardStream::Error))
        std::cerr << PointAtError(error, qpr::GetTerminalSize().columns) << std::endl;
    return ExitCode_Failed;
}
catch (const std::exception& error)
{
    return Report(error.what(), ExitCode_Failed);
}

} // namespace qx
