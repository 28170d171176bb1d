#include "runtime/text/SystemErrors.h"

#include "runtime/text/Errors.h"
#include "runtime/text/Panic.h"
#include "runtime/text/Utf8.h"
#include "runtime/text/posix/SocketErrors.h"

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <netdb.h>
#include <span>

namespace qpr
{

std::uint32_t LastSystemError()
{
    return static_cast<std::uint32_t>(errno);
}

std::uint32_t LastSocketError()
{
    return SocketErrorFromErrno(errno);
}

std::uint32_t InvalidTextError() noexcept
{
    return EILSEQ;
}

std::wstring DescribeSignal(std::uint32_t number)
{
    const char* const text = sigdescr_np(static_cast<int>(number));
    return text ? FromUtf8(text) : std::wstring();
}

SystemDescription DescribeSystemError(std::uint32_t error, const void*)
{
    // Unlike strerror it is null for an unknown number, and needs no buffer.
    const char* const text = strerrordesc_np(static_cast<int>(error));
    if (!text)
        return {{}, EINVAL};
    return {FromUtf8(text), 0};
}

namespace
{

struct SocketError
{
    int number; ///< the system's
    std::uint32_t error; ///< in the socket error table
};

constexpr SocketError errorsOfErrno[] = {
    {EINTR, 10004},
    {EACCES, 10013},
    {EPERM, 10013},
    {EFAULT, 10014},
    {EINVAL, 10022},
    {EMFILE, 10024},
    {ENFILE, 10024},
    {EAGAIN, 10035},
    {EINPROGRESS, 10036},
    {EALREADY, 10037},
    {EBADF, 10038},
    {ENOTSOCK, 10038},
    {EDESTADDRREQ, 10039},
    {EMSGSIZE, 10040},
    {EPROTOTYPE, 10041},
    {ENOPROTOOPT, 10042},
    {EPROTONOSUPPORT, 10043},
    {ESOCKTNOSUPPORT, 10044},
    {EOPNOTSUPP, 10045},
    {EPFNOSUPPORT, 10046},
    {EAFNOSUPPORT, 10047},
    {EADDRINUSE, 10048},
    {EADDRNOTAVAIL, 10049},
    {ENETDOWN, 10050},
    {ENETUNREACH, 10051},
    {ENETRESET, 10052},
    {ECONNABORTED, 10053},
    {ECONNRESET, 10054}, // a peer that has gone, noticed by a later write
    {EPIPE, 10054}, // a peer that has gone, noticed by a later write
    {ENOBUFS, 10055},
    {EISCONN, 10056},
    {ENOTCONN, 10057},
    {ESHUTDOWN, 10058},
    {ETIMEDOUT, 10060},
    {ECONNREFUSED, 10061},
    {EHOSTDOWN, 10064},
    {EHOSTUNREACH, 10065},
    {ENOMEM, 8},
    {ECANCELED, 995},
};

constexpr SocketError errorsOfResolver[] = {
    {EAI_NONAME, 11001},
    {EAI_AGAIN, 11002},
    {EAI_FAIL, 11003},
    {EAI_NODATA, 11004},
    {EAI_ADDRFAMILY, 10047},
    {EAI_FAMILY, 10047},
    {EAI_SERVICE, 10109},
    {EAI_SOCKTYPE, 10044},
    {EAI_BADFLAGS, 10022},
    {EAI_MEMORY, 8},
    {EAI_SYSTEM, 10107},
};

std::uint32_t Find(std::span<const SocketError> errors, int number) noexcept
{
    constexpr std::uint32_t systemCallFailure = 10107;
    const auto found = std::ranges::find(errors, number, &SocketError::number);
    return found == errors.end() ? systemCallFailure : found->error;
}

} // namespace

std::uint32_t SocketErrorFromErrno(int error) noexcept
{
    return Find(errorsOfErrno, error);
}

std::uint32_t SocketErrorFromResolver(int result) noexcept
{
    return result == EAI_SYSTEM ? SocketErrorFromErrno(errno) : Find(errorsOfResolver, result);
}

void FailFast() noexcept
{
    std::abort();
}

} // namespace qpr
