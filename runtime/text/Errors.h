#pragma once

#include <cstdint>
#include <stdexcept>
#include <string>
#include <string_view>

/// The library's one error convention: every failure is a RuntimeError whose text says what failed, where, with which
/// error number and the system's own words for it. Internal conditions that only a defect can break are
/// std::logic_error with the narrow text "qualified::Function: condition".
namespace qpr
{

/// A failure with a wide text. what() is the same text in UTF-8.
class RuntimeError : public std::runtime_error
{
public:
    explicit RuntimeError(std::wstring_view text);
};

/// A write to a channel that nobody reads any more: its reader has closed it, or has ended.
class PeerClosedError : public RuntimeError
{
public:
    using RuntimeError::RuntimeError;
};

/// The text of any exception as wide text. what() is read as UTF-8; invalid bytes become U+FFFD.
std::wstring ErrorText(const std::exception& error);

/// The calling thread's last system error number. Read it before anything else is called.
std::uint32_t LastSystemError();

/// The calling thread's last socket error number, in the numbering of the socket error table (10035 and so on).
std::uint32_t LastSocketError();

/// "<text> in <function>.<line>, error number = 0x<hex>: <the system's description>"; without the place for error 64.
/// messageModule is a native module handle whose message table is asked first, or null.
std::wstring SystemErrorMessage(std::wstring_view text, std::wstring_view function, int line, std::uint32_t error,
    const void* messageModule = nullptr);

/// "<text> in <function>.<line>, Winsock error number = <decimal>: <description>"; without the place for 10053, 10054
/// and 10061.
std::wstring SocketErrorMessage(std::wstring_view text, std::wstring_view function, int line, std::uint32_t error);

/// Throw a RuntimeError with the messages above. Those without a number read the thread's last error before anything
/// else.
[[noreturn]] void ThrowSystemError(std::wstring_view text, std::wstring_view function, int line = __builtin_LINE());
[[noreturn]] void ThrowSystemErrorWithNumber(std::wstring_view text, std::wstring_view function, std::uint32_t error,
    int line = __builtin_LINE(), const void* messageModule = nullptr);
[[noreturn]] void ThrowSocketError(std::wstring_view text, std::wstring_view function, int line = __builtin_LINE());
[[noreturn]] void ThrowSocketErrorWithNumber(
    std::wstring_view text, std::wstring_view function, std::uint32_t error, int line = __builtin_LINE());

} // namespace qpr
