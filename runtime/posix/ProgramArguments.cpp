#include "runtime/ProgramArguments.h"

std::vector<std::string> qpr::ProgramArguments(int argc, char** argv)
{
    return std::vector<std::string>(argv, argv + argc);
}
