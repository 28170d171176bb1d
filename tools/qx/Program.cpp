#include "tools/qx/Program.h"

#include "config/Version.h"
#include "runtime/channels/Terminal.h"
#include "runtime/text/Errors.h"
#include "runtime/text/Utf8.h"
#include "runtime/threads/Thread.h"
#include "tools/qx/FormulaPointer.h"

#include <algorithm>
#include <cerrno>
#include <iostream>
#include <system_error>

namespace qx
{

namespace
{

/// Begins an argument behind "--" while the command line is read: CLI11 takes "--" for the end of the options only
/// before the first argument that may be repeated.
constexpr char literalMark = '\x01';

std::string WithoutMark(const std::string& argument)
{
    return argument.starts_with(literalMark) ? argument.substr(1) : argument;
}

/// Removes "--" and marks what is behind it.
void MarkLiterals(std::vector<std::string>& arguments)
{
    const auto optionsEnd = std::find(arguments.begin() + 2, arguments.end(), "--");
    if (optionsEnd == arguments.end())
        return;
    for (auto literal = arguments.erase(optionsEnd); literal != arguments.end(); ++literal)
        literal->insert(0, 1, literalMark);
}

/// "qx help COMMAND" is "qx COMMAND --help".
void RewriteHelp(std::vector<std::string>& arguments)
{
    if (arguments.size() < 2 || arguments[1] != "help")
        return;
    arguments.erase(arguments.begin() + 1);
    arguments.resize(std::min<std::size_t>(arguments.size(), 2));
    arguments.push_back("--help");
}

/// "--option=" gives an empty value, which CLI11 would look for in the next argument.
std::vector<std::string> SeparateEmptyValues(const std::vector<std::string>& arguments)
{
    std::vector<std::string> words;
    for (const std::string& argument : arguments)
    {
        const bool isEmptyValue = argument.starts_with("--") && argument.ends_with('=');
        words.push_back(isEmptyValue ? argument.substr(0, argument.size() - 1) : argument);
        if (isEmptyValue)
            words.emplace_back();
    }
    return words;
}

std::vector<std::wstring> CommandNames(const CLI::App& commandLine)
{
    std::vector<std::wstring> names;
    for (const CLI::App* command : commandLine.get_subcommands([](const CLI::App*) { return true; }))
        names.push_back(qpr::FromUtf8(command->get_name()));
    return names;
}

std::vector<std::wstring> OptionNames(const CLI::App& command)
{
    std::vector<std::wstring> names;
    for (const CLI::Option* option : command.get_options())
    {
        for (const std::string& name : option->get_lnames())
            names.push_back(L"--" + qpr::FromUtf8(name));
    }
    return names;
}

} // namespace

Program::Program()
    : m_commandLine("Runs service calls and looks at what they need and use.")
{
    m_commandLine.name("qx");
    m_commandLine.set_version_flag("--version", "qx " + qpr::ToUtf8(qxm::libraryVersion.ToText()), "Print the version");
    m_commandLine.set_help_flag("-h,--help", "Print this help");
    m_commandLine.footer("Example:\n  echo hello | qx call --config QxConfiguration.xml Gzip | gunzip\n\n"
                         "'qx help COMMAND' tells more about a command. Exit codes: 0 done, 1 failed, 2 wrong command\n"
                         "line, 130 interrupted. QX_CONFIGURATION names the configuration file unless --config does.");
    m_commandLine.require_subcommand(1);
    m_commandLine.allow_windows_style_options(false);
    m_commandLine.get_formatter()->column_width(34);
    m_commandLine.get_formatter()->label("SUBCOMMAND", "COMMAND");
}

CLI::App& Program::AddCommand(
    const std::string& name, const std::string& description, const std::string& example, Action action)
{
    CLI::App* command = m_commandLine.add_subcommand(name, description);
    command->group("Commands");
    command->footer("Example:\n  " + example);
    command->add_flag("--verbose", m_isVerbose, "Add the library's own text to an error");
    command->final_callback([this, action = std::move(action)] { m_chosen = action; });
    return *command;
}

void Program::Understand(std::vector<std::string> arguments)
{
    RewriteHelp(arguments);
    if (arguments.size() > 1 && arguments[1] == "--")
        arguments.erase(arguments.begin() + 1);
    if (arguments.size() < 2)
        throw WrongCommandLine("a command is required; 'qx --help' lists them");
    const std::vector<std::wstring> commands = CommandNames(m_commandLine);
    const std::wstring given = qpr::FromUtf8(arguments[1]);
    if (!arguments[1].starts_with('-') && std::ranges::find(commands, given) == commands.end())
        throw WrongCommandLine("there is no command '" + arguments[1] + "'" + NearestNameHint(given, commands));

    MarkLiterals(arguments);
    for (CLI::App* command : m_commandLine.get_subcommands([](CLI::App*) { return true; }))
    {
        for (CLI::Option* option : command->get_options([](const CLI::Option* o) { return o->get_positional(); }))
            option->transform(WithoutMark);
    }
    const std::vector<std::string> words = SeparateEmptyValues(arguments);
    std::vector<const char*> pointers;
    for (const std::string& word : words)
        pointers.push_back(word.c_str());
    m_commandLine.parse(static_cast<int>(pointers.size()), pointers.data());
}

std::string Program::WrongArgument(const CLI::ParseError& error) const
{
    const std::vector<std::string> unknown = m_commandLine.remaining(true);
    if (unknown.empty() || !dynamic_cast<const CLI::ExtrasError*>(&error))
        return error.what();
    const std::string name = unknown[0].substr(0, unknown[0].find('='));
    if (!name.starts_with('-'))
        return "unexpected argument '" + WithoutMark(unknown[0]) + "'";
    const std::vector<CLI::App*> chosen = m_commandLine.get_subcommands();
    return "there is no option '" + name + "'"
        + NearestNameHint(qpr::FromUtf8(name), OptionNames(chosen.empty() ? m_commandLine : *chosen[0]));
}

void Program::Report(const ExplainedError& error)
{
    m_errors.WriteError(error.what());
    if (m_isVerbose && !error.LibraryText().empty())
        m_errors.WriteError("in the library's words: " + error.LibraryText());
}

int Program::Fail(const std::exception& error, ExitCode exitCode)
{
    std::cout.flush();
    const auto* explained = dynamic_cast<const ExplainedError*>(&error);
    Report(explained ? *explained : Explain(error.what()));
    return exitCode;
}

int Program::Run(const std::vector<std::string>& arguments)
try
{
    int exitCode = ExitCode_Done;
    try
    {
        Understand(arguments);
        exitCode = m_chosen();
    }
    catch (const CLI::Success& request)
    {
        m_commandLine.exit(request);
    }
    errno = 0;
    std::cout.flush();
    if (!std::cout)
        throw std::runtime_error("cannot write standard output"
            + (errno != 0 ? ": " + std::generic_category().message(errno) : std::string()));
    return exitCode;
}
catch (const CLI::ParseError& error)
{
    return Fail(std::runtime_error(WrongArgument(error)), ExitCode_WrongCommandLine);
}
catch (const WrongCommandLine& error)
{
    return Fail(error, ExitCode_WrongCommandLine);
}
catch (const Interrupted&)
{
    return Fail(std::runtime_error("interrupted"), ExitCode_Interrupted);
}
catch (const qexpr::ParseError& error)
{
    Fail(error, ExitCode_Failed);
    if (m_errors.IsTerminal())
        m_errors.WriteLine(PointAtError(error, qpr::GetTerminalSize().columns));
    return ExitCode_Failed;
}
catch (const std::exception& error)
{
    return Fail(error, ExitCode_Failed);
}

} // namespace qx
