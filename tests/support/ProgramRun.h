#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace test
{

/// Path of a program of this build.
std::wstring ProgramPath(const std::wstring& name);

/// What a program is given.
struct ProgramStart
{
    std::wstring program; ///< of this build
    std::vector<std::wstring> arguments;
    std::string input = {};
    std::map<std::wstring, std::wstring> environment = {};
};

/// What a program did, once it has ended.
struct ProgramEnd
{
    std::uint32_t exitCode = 0;
    std::string output;
    std::string errors;

    friend bool operator==(const ProgramEnd&, const ProgramEnd&) = default;
};

std::ostream& operator<<(std::ostream& stream, const ProgramEnd& end);

/// Runs a program to its end, its three standard streams connected to pipes.
ProgramEnd RunProgram(const ProgramStart& start);

} // namespace test
