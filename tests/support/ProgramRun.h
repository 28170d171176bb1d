#pragma once

#include "support/Pace.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace test
{

/// Path of a program of this build, or of another whose programs are to be run.
std::wstring ProgramPath(const std::wstring& name);
void SetProgramDirectory(const std::filesystem::path& directory);

/// What a program is given.
struct ProgramStart
{
    std::wstring program; ///< of this build
    std::vector<std::wstring> arguments;
    std::string input = {};
    std::map<std::wstring, std::wstring> environment = {};
    bool inputStaysOpen = false; ///< until CloseInput
    Pace inputPace = {};
    Pace outputPace = {}; ///< at which its output is read
    std::size_t outputLimit = ~std::size_t(0); ///< after so many bytes nobody reads the program's output
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

    /// Whether the program ends within this time.
    bool EndsWithin(std::uint32_t milliseconds);

    ProgramEnd WaitForEnd();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

/// Runs a program to its end.
ProgramEnd RunProgram(const ProgramStart& start);

} // namespace test
