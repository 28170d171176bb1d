#pragma once

#include <CLI/CLI.hpp>

#include <functional>
#include <string>
#include <vector>

namespace qx
{

/// The command line of the tool. Each command adds itself with its options; Run understands the command line, runs the
/// command that was chosen, and turns what leaves it into a line of text and an exit code.
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

private:
    void Understand(const std::vector<std::string>& arguments);

    CLI::App m_commandLine;
    Action m_chosen;
};

} // namespace qx
