#include "runtime/SocketAddress.h"

#include "runtime/AddressLookup.h"
#include "runtime/Errors.h"
#include "runtime/Panic.h"

#include <algorithm>
#include <cwchar>
#include <iterator>

namespace qpr
{
namespace
{

constexpr std::uint32_t serviceNotFound = 10109;
constexpr std::uint32_t hostNotFound = 11001;

/// Resolvers take "99999", "-1" and the empty text for some port.
bool IsServiceText(const std::wstring& service)
{
    const auto isDigit = [](wchar_t character) { return character >= L'0' && character <= L'9'; };
    if (std::ranges::all_of(service, isDigit))
        return !service.empty() && service.size() <= 5 && std::stoul(service) <= 0xFFFF;
    const wchar_t first = service.front();
    return (first >= L'a' && first <= L'z') || (first >= L'A' && first <= L'Z');
}

template <class... Args>
std::wstring Format(const char* function, const wchar_t* format, Args... args)
{
    wchar_t text[40];
    const int length = std::swprintf(text, std::size(text), format, args...);
    if (length < 0)
        Panic("length >= 0", function);
    return std::wstring(text, static_cast<std::size_t>(length));
}

std::wstring ToIP4String(const SocketAddress::AddressBytes& bytes)
{
    return Format(
        "qpr::`anonymous-namespace'::ToIP4String", L"%u.%u.%u.%u", +bytes[0], +bytes[1], +bytes[2], +bytes[3]);
}

std::wstring ToIP6String(const SocketAddress::AddressBytes& bytes)
{
    const auto group = [&](std::size_t index) { return bytes[2 * index] << 8 | bytes[2 * index + 1]; };
    return Format("qpr::`anonymous-namespace'::ToIP6String", L"%X:%X:%X:%X:%X:%X:%X:%X", group(0), group(1), group(2),
        group(3), group(4), group(5), group(6), group(7));
}

} // namespace

SocketAddress::SocketAddress(Family family, const AddressBytes& bytes, std::uint16_t port) noexcept
    : m_family(family)
    , m_bytes(bytes)
    , m_port(port)
{
}

SocketAddress SocketAddress::Loopback(std::uint16_t port) noexcept
{
    return SocketAddress(Family::IPv4, {127, 0, 0, 1}, port);
}

SocketAddress SocketAddress::Resolve(const std::wstring& host, const std::wstring& service, Family family)
{
    if (!IsServiceText(service))
        ThrowSocketErrorWithNumber(L"GetAddrInfo() failed", L"qpr::SocketAddress::SetRemoteAddress", serviceNotFound);
    if (host.empty()) // some resolvers take it for this computer
        ThrowSocketErrorWithNumber(L"GetAddrInfo() failed", L"qpr::SocketAddress::SetRemoteAddress", hostNotFound);
    const std::vector<SocketAddress> addresses = LookUpAddresses(host, service);
    const auto found = std::ranges::find(addresses, family, &SocketAddress::GetFamily);
    if (found == addresses.end())
        throw RuntimeError(L"No remote address found for host '" + host + L"' and service '" + service + L"'");
    return *found;
}

bool SocketAddress::IsLoopback() const noexcept
{
    if (m_family == Family::IPv4)
        return m_bytes[0] == 127;
    return m_bytes == AddressBytes{0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1};
}

bool SocketAddress::IsSameHost(const SocketAddress& other) const noexcept
{
    return m_family == other.m_family && m_bytes == other.m_bytes;
}

std::wstring SocketAddress::ToText() const
{
    return m_family == Family::IPv4 ? ToIP4String(m_bytes) : ToIP6String(m_bytes);
}

} // namespace qpr
