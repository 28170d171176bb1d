#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace qpr
{

/// The value of an environment variable of this process; none when it is not set. Must not run while another thread
/// changes the environment.
std::optional<std::wstring> EnvironmentVariable(std::wstring_view name);

} // namespace qpr
