#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

/// What this process knows of itself. Any thread may ask.
namespace qpr::CurrentProcess
{

/// The full path of the application's executable. Throws "GetModuleFileName() failed".
std::wstring GetExecutablePath();

std::uint32_t GetId() noexcept;

/// The account that the process runs under; its number where the system has no name for it.
std::wstring GetUserName();

/// Lets this process open as many descriptors as the system allows it; how many these are.
std::size_t RaiseDescriptorLimit() noexcept;

} // namespace qpr::CurrentProcess

namespace qpr
{

/// Whether a process with this id is there, whoever owns it. Ids are used again, so true may mean another process.
bool IsProcessRunning(std::uint32_t id) noexcept;

} // namespace qpr
