#pragma once

#include "tools/qx/ExitCode.h"
#include "tools/qx/Explanation.h"
#include "tools/qx/StandardError.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <string>
#include <vector>

namespace qx
{

/// The command line of the tool. Each command adds itself with its options; Run understands the command line, runs the
/// command that was chosen, and turns what leaves it into a line of text and an exit code. Every command has the
/// options --help and --verbose.
class Program
{
public:
    /// Does a command's work and returns an ExitCode.
    using Action = std::function<int()>;

    Program();

    /// The caller adds the command's options to what is returned. The example stands in the command's help.
    CLI::App& AddCommand(
        const std::string& name, const std::string& description, const std::string& example, Action action);

    int Run(const std::vector<std::string>& arguments);

    /// What commands write for people goes there while they work.
    StandardError& Errors() noexcept { return m_errors; }

    /// Reports an error: the text for people, and with --verbose the library's own after it.
    void Report(const ExplainedError& error);

private:
    void Understand(std::vector<std::string> arguments);
    std::string WrongArgument(const CLI::ParseError& error) const;
    int Fail(const std::exception& error, ExitCode exitCode);

    CLI::App m_commandLine;
    Action m_chosen;
    StandardError m_errors;
    bool m_isVerbose = false;
};

} // namespace qx
