#pragma once

#include <string_view>

namespace qpr
{

/// For failures that must not throw: writes "Panic: <condition> failed in <function>.<line>" to the standard error
/// stream and ends the process abnormally, without unwinding, destructors or exit handlers.
[[noreturn]] void Panic(const char* condition, const char* function, int line = __builtin_LINE()) noexcept;

/// The same with a finished text: "Panic: <text>".
[[noreturn]] void PanicWithText(std::string_view text) noexcept;

/// Ends the process at once, like a crash: no destructors, no exit handlers, no message box.
[[noreturn]] void FailFast() noexcept;

} // namespace qpr
