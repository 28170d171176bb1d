#include "runtime/text/Errors.h"

#include "runtime/text/Panic.h"
#include "runtime/text/SystemErrors.h"
#include "runtime/text/Utf8.h"

#include <algorithm>
#include <cstdio>
#include <iterator>
#include <locale>
#include <sstream>

namespace qpr
{
namespace
{

/// Errors whose text does not name the place: the peer has gone, whichever of our calls noticed.
constexpr std::uint32_t networkNameDeleted = 64;
constexpr std::uint32_t connectionLost[] = {10053, 10054, 10061};

struct SocketDescription
{
    std::uint32_t error;
    const wchar_t* text;
};

/// The last seven are general system numbers that socket calls also return.
constexpr SocketDescription socketDescriptions[] = {
    {10004, L"Interrupted function call."},
    {10013, L"Permission denied."},
    {10014, L"Bad address."},
    {10022, L"Invalid argument."},
    {10024, L"Too many open files."},
    {10035, L"Resource temporarily unavailable."},
    {10036, L"Operation now in progress."},
    {10037, L"Operation already in progress."},
    {10038, L"Socket operation on nonsocket."},
    {10039, L"Destination address required."},
    {10040, L"Message too long."},
    {10041, L"Protocol wrong type for socket."},
    {10042, L"Bad protocol option."},
    {10043, L"Protocol not supported."},
    {10044, L"Socket type not supported."},
    {10045, L"Operation not supported."},
    {10046, L"Protocol family not supported."},
    {10047, L"Address family not supported by protocol family."},
    {10048, L"Address already in use."},
    {10049, L"Cannot assign requested address."},
    {10050, L"Network is down."},
    {10051, L"Network is unreachable."},
    {10052, L"Network dropped connection on reset."},
    {10053, L"Software caused connection abort."},
    {10054, L"Connection reset by peer."},
    {10055, L"No buffer space available."},
    {10056, L"Socket is already connected."},
    {10057, L"Socket is not connected."},
    {10058, L"Cannot send after socket shutdown."},
    {10060, L"Connection timed out."},
    {10061, L"Connection refused."},
    {10064, L"Host is down."},
    {10065, L"No route to host."},
    {10067, L"Too many processes."},
    {10091, L"Network subsystem is unavailable."},
    {10092, L"Winsock.dll version out of range."},
    {10093, L"Successful WSAStartup not yet performed."},
    {10101, L"Graceful shutdown in progress."},
    {10109, L"Class type not found."},
    {11001, L"Host not found."},
    {11002, L"Nonauthoritative host not found."},
    {11003, L"This is a nonrecoverable error."},
    {11004, L"Valid name, no data record of requested type."},
    {6, L"Specified event object handle is invalid."},
    {87, L"One or more parameters are invalid."},
    {996, L"Overlapped I/O event object not in signaled state."},
    {997, L"Overlapped operations will complete later."},
    {8, L"Insufficient memory available."},
    {995, L"Overlapped operation aborted."},
    {10107, L"System call failure."},
};

const wchar_t* DescribeSocketError(std::uint32_t error) noexcept
{
    const auto found = std::ranges::find(socketDescriptions, error, &SocketDescription::error);
    return found == std::end(socketDescriptions) ? L"???" : found->text;
}

/// In the classic locale: an application's global one may put separators into numbers.
std::wostringstream MessageStream()
{
    std::wostringstream stream;
    stream.imbue(std::locale::classic());
    return stream;
}

} // namespace

RuntimeError::RuntimeError(std::wstring_view text)
    : std::runtime_error(ToUtf8(text))
{
}

std::wstring ErrorText(const std::exception& error)
{
    return FromUtf8(error.what());
}

std::wstring_view WithoutLineEnd(std::wstring_view description) noexcept
{
    if (!description.ends_with(L'\n'))
        return description;
    description.remove_suffix(1);
    if (description.ends_with(L'\r'))
        description.remove_suffix(1);
    return description;
}

std::wstring SystemErrorMessage(
    std::wstring_view text, std::wstring_view function, int line, std::uint32_t error, const void* messageModule)
{
    const SystemDescription description = DescribeSystemError(error, messageModule);
    std::wostringstream message = MessageStream();
    message << text;
    if (error != networkNameDeleted)
        message << L" in " << function << L'.' << line;
    message << L", error number = 0x" << std::hex << error << std::dec << L": ";
    if (description.lookupError != 0)
        message << L"???: FormatMessage() failed, error number = " << description.lookupError;
    else
        message << WithoutLineEnd(description.text);
    return message.str();
}

std::wstring SocketErrorMessage(std::wstring_view text, std::wstring_view function, int line, std::uint32_t error)
{
    std::wostringstream message = MessageStream();
    message << text;
    if (std::ranges::find(connectionLost, error) == std::end(connectionLost))
        message << L" in " << function << L'.' << line;
    message << L", Winsock error number = " << error << L": " << DescribeSocketError(error);
    return message.str();
}

void ThrowSystemError(std::wstring_view text, std::wstring_view function, int line)
{
    ThrowSystemErrorWithNumber(text, function, LastSystemError(), line);
}

void ThrowSystemErrorWithNumber(
    std::wstring_view text, std::wstring_view function, std::uint32_t error, int line, const void* messageModule)
{
    throw RuntimeError(SystemErrorMessage(text, function, line, error, messageModule));
}

void ThrowSocketError(std::wstring_view text, std::wstring_view function, int line)
{
    ThrowSocketErrorWithNumber(text, function, LastSocketError(), line);
}

void ThrowSocketErrorWithNumber(std::wstring_view text, std::wstring_view function, std::uint32_t error, int line)
{
    throw RuntimeError(SocketErrorMessage(text, function, line, error));
}

void Panic(const char* condition, const char* function, int line) noexcept
{
    std::fprintf(stderr, "Panic: %s failed in %s.%d\n", condition, function, line);
    std::fflush(stderr);
    FailFast();
}

void PanicWithText(std::string_view text) noexcept
{
    std::fprintf(stderr, "Panic: %.*s\n", static_cast<int>(text.size()), text.data());
    std::fflush(stderr);
    FailFast();
}

} // namespace qpr
