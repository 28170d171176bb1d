#include "runtime/processes/ProgramArguments.h"

#include <csignal>

std::vector<std::string> qpr::ProgramArguments(int argc, char** argv)
{
    return std::vector<std::string>(argv, argv + argc);
}

void qpr::ResetInheritedSignals() noexcept
{
    std::signal(SIGCHLD, SIG_DFL);
}
