#pragma once

#include "runtime/Errors.h"

#include <string>
#include <string_view>

namespace qpr
{

/// Throws "<text>, zlib result code = <code>".
[[noreturn]] inline void ThrowZlibError(std::wstring_view text, int code)
{
    throw RuntimeError(std::wstring(text) + L", zlib result code = " + std::to_wstring(code));
}

} // namespace qpr
