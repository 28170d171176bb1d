#pragma once

#include <cstdint>
#include <map>
#include <memory>
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
    bool inputStaysOpen = false; ///< until CloseInput
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

/// A program that runs, its three standard streams connected to pipes. Ended by force when it is not waited for.
class RunningProgram
{
public:
    explicit RunningProgram(const ProgramStart& start);
    ~RunningProgram();

    std::uint32_t ProcessId() const;

    /// Ends the program by force; it can be waited for then.
    void Kill();

    /// What the program has written so far, once that holds the text or the program has ended.
    std::string WaitForOutput(const std::string& text);
    std::string WaitForErrors(const std::string& text);

    /// For one whose input stays open.
    void CloseInput();

    /// From now on nobody reads the program's output.
    void CloseOutput();

    ProgramEnd WaitForEnd();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

/// Runs a program to its end.
ProgramEnd RunProgram(const ProgramStart& start);

} // namespace test
