#pragma once

#include <cstdint>
#include <string>
#include <string_view>

/// What error messages ask of the operating system. For the code that builds them; all other code uses Errors.h.
namespace qpr
{

/// The system's words for an error number, or the number with which looking them up failed.
struct SystemDescription
{
    std::wstring text;
    std::uint32_t lookupError = 0; ///< 0: text holds the description as the system gave it
};

/// messageModule, a native module handle or null, is asked before the system.
SystemDescription DescribeSystemError(std::uint32_t error, const void* messageModule);

/// The system's error number for bytes or characters that are not valid text.
std::uint32_t InvalidTextError() noexcept;

/// The system's words for a signal's number, "Segmentation fault"; empty where it has none.
std::wstring DescribeSignal(std::uint32_t number);

/// Without one trailing line feed and a carriage return before that.
std::wstring_view WithoutLineEnd(std::wstring_view description) noexcept;

} // namespace qpr
