#pragma once

#include "runtime/threads/Wait.h"

#include <array>
#include <cstdint>
#include <string>

namespace qpr
{

/// Where a socket is bound or connected to: a value of family, address bytes and port.
class SocketAddress
{
public:
    enum class Family
    {
        IPv4,
        IPv6,
    };
    using AddressBytes = std::array<std::uint8_t, 16>; ///< in network order; an IPv4 address takes the first four

    /// 0.0.0.0, port 0.
    SocketAddress() = default;
    SocketAddress(Family family, const AddressBytes& bytes, std::uint16_t port) noexcept;

    /// 127.0.0.1.
    static SocketAddress Loopback(std::uint16_t port) noexcept;

    /// The first address of the family that the system's resolver knows for a TCP host and service; a service is a name
    /// or a decimal port. A name is looked up on a thread of its own, which is left to itself when the wait ends first.
    /// Throws "GetAddrInfo() failed" or "No remote address found for host '<host>' and service '<service>'".
    static SocketAddress Resolve(
        const std::wstring& host, const std::wstring& service, Family family = Family::IPv4, const Wait& wait = {});

    Family GetFamily() const noexcept { return m_family; }
    const AddressBytes& Bytes() const noexcept { return m_bytes; }
    std::uint16_t Port() const noexcept { return m_port; }

    /// The same host, whatever the port.
    bool IsSameHost(const SocketAddress& other) const noexcept;

    /// The address without the port: "127.0.0.1", or eight groups "0:0:0:0:0:0:0:1" in upper-case hexadecimal.
    std::wstring ToText() const;

    friend bool operator==(const SocketAddress&, const SocketAddress&) = default;

private:
    Family m_family = Family::IPv4;
    AddressBytes m_bytes{};
    std::uint16_t m_port = 0;
};

} // namespace qpr
