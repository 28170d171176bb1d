#pragma once

#include <stdexcept>

namespace qx
{

/// What the program tells the shell. Part of its interface.
enum ExitCode
{
    ExitCode_Done = 0,
    ExitCode_Failed = 1,
    ExitCode_WrongCommandLine = 2,
    ExitCode_Interrupted = 130,
};

/// The command line asks for something that makes no sense; nothing has been done.
class WrongCommandLine : public std::runtime_error
{
public:
    using std::runtime_error::runtime_error;
};

/// The user interrupted the program, which has ended what it was doing.
class Interrupted
{
};

} // namespace qx
