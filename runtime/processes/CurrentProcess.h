#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// What this process knows of itself. Any thread may ask.
namespace qpr::CurrentProcess
{

/// The full path of the application's executable. Throws "GetModuleFileName() failed".
std::wstring GetExecutablePath();

std::uint32_t GetId() noexcept;

/// The account that the process runs under; its number where the system has no name for it.
std::wstring GetUserName();

/// Lets this process open as many descriptors as the system allows; returns that number.
std::size_t RaiseDescriptorLimit() noexcept;

} // namespace qpr::CurrentProcess

namespace qpr
{

/// The value of an environment variable of this process; none when it is not set. Must not run while another thread
/// changes the environment.
std::optional<std::wstring> EnvironmentVariable(std::wstring_view name);

/// The arguments that main was given, the program's name first, in UTF-8 on every system; unchanged where the system
/// does not say how they are encoded.
std::vector<std::string> ProgramArguments(int argc, char** argv);

/// Undoes the ignored SIGCHLD of a parent that passes it on: with it the system keeps no child's exit code. A program
/// calls this before it starts others.
void ResetInheritedSignals() noexcept;

/// Whether a process with this id is there, whoever owns it. Ids are reused, so true may mean another process.
bool IsProcessRunning(std::uint32_t id) noexcept;

} // namespace qpr
