#include "runtime/text/SystemErrors.h"

#include "runtime/text/Errors.h"
#include "runtime/text/Utf8.h"
#include "runtime/text/posix/SocketErrors.h"

#include <cerrno>
#include <cstring>
#include <netdb.h>

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

SystemDescription DescribeSystemError(std::uint32_t error, const void*)
{
    // Unlike strerror this one admits that it does not know a number, and needs no buffer.
    const char* const text = strerrordesc_np(static_cast<int>(error));
    if (!text)
        return {{}, EINVAL};
    return {FromUtf8(text), 0};
}

std::wstring DescribeSignal(std::uint32_t number)
{
    const char* const text = sigdescr_np(static_cast<int>(number));
    return text ? FromUtf8(text) : std::wstring();
}

std::uint32_t SocketErrorFromErrno(int error) noexcept
{
    switch (error)
    {
    case EINTR:
        return 10004;
    case EACCES:
    case EPERM:
        return 10013;
    case EFAULT:
        return 10014;
    case EINVAL:
        return 10022;
    case EMFILE:
    case ENFILE:
        return 10024;
    case EAGAIN:
        return 10035;
    case EINPROGRESS:
        return 10036;
    case EALREADY:
        return 10037;
    case EBADF:
    case ENOTSOCK:
        return 10038;
    case EDESTADDRREQ:
        return 10039;
    case EMSGSIZE:
        return 10040;
    case EPROTOTYPE:
        return 10041;
    case ENOPROTOOPT:
        return 10042;
    case EPROTONOSUPPORT:
        return 10043;
    case ESOCKTNOSUPPORT:
        return 10044;
    case EOPNOTSUPP:
        return 10045;
    case EPFNOSUPPORT:
        return 10046;
    case EAFNOSUPPORT:
        return 10047;
    case EADDRINUSE:
        return 10048;
    case EADDRNOTAVAIL:
        return 10049;
    case ENETDOWN:
        return 10050;
    case ENETUNREACH:
        return 10051;
    case ENETRESET:
        return 10052;
    case ECONNABORTED:
        return 10053;
    case ECONNRESET:
    case EPIPE:
        return 10054; // a peer that has gone, noticed by a later write
    case ENOBUFS:
        return 10055;
    case EISCONN:
        return 10056;
    case ENOTCONN:
        return 10057;
    case ESHUTDOWN:
        return 10058;
    case ETIMEDOUT:
        return 10060;
    case ECONNREFUSED:
        return 10061;
    case EHOSTDOWN:
        return 10064;
    case EHOSTUNREACH:
        return 10065;
    case ENOMEM:
        return 8;
    case ECANCELED:
        return 995;
    default:
        return 10107;
    }
}

std::uint32_t SocketErrorFromResolver(int result) noexcept
{
    switch (result)
    {
    case EAI_NONAME:
        return 11001;
    case EAI_AGAIN:
        return 11002;
    case EAI_FAIL:
        return 11003;
    case EAI_NODATA:
        return 11004;
    case EAI_ADDRFAMILY:
    case EAI_FAMILY:
        return 10047;
    case EAI_SERVICE:
        return 10109;
    case EAI_SOCKTYPE:
        return 10044;
    case EAI_BADFLAGS:
        return 10022;
    case EAI_MEMORY:
        return 8;
    case EAI_SYSTEM:
        return SocketErrorFromErrno(errno);
    default:
        return 10107;
    }
}

} // namespace qpr
