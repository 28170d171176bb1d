#pragma once

#include "runtime/text/Utf8.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <string>
#include <string_view>

/// What each target defines, for libFuzzer or for the replay of found cases. Any input ends in a value or in an error
/// that is a std::exception; anything else is a finding.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz
{

inline std::wstring Text(const std::uint8_t* data, std::size_t size)
{
    return qpr::FromUtf8(std::string_view(reinterpret_cast<const char*>(data), size));
}

/// Runs the action; false when it ended in an error.
bool Succeeds(auto action)
{
    try
    {
        action();
        return true;
    }
    catch (const std::exception&)
    {
        return false;
    }
}

/// A condition that holds for any input.
inline void Require(bool condition, const char* what)
{
    if (condition)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

} // namespace fuzz
