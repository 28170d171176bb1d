#include "runtime/channels/SocketAddress.h"

#include "support/ErrorOf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using qpr::SocketAddress;

TEST(SocketAddressTest, WritesAddressesWithoutThePort)
{
    EXPECT_EQ(SocketAddress(SocketAddress::Family::IPv4, {192, 168, 0, 255}, 80).ToText(), L"192.168.0.255");
    EXPECT_EQ(
        SocketAddress(SocketAddress::Family::IPv6, {0x20, 0x01, 0x0D, 0xB8, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}, 80)
            .ToText(),
        L"2001:DB8:0:0:0:0:0:1");
}

TEST(SocketAddressTest, TellsHostsApart)
{
    const SocketAddress loopback = SocketAddress::Loopback(1);
    EXPECT_TRUE(loopback.IsSameHost(SocketAddress::Loopback(2)));
    EXPECT_FALSE(loopback.IsSameHost(SocketAddress(SocketAddress::Family::IPv4, {127, 0, 0, 2}, 1)));
}

TEST(SocketAddressTest, ResolvesHostsAndPorts)
{
    EXPECT_EQ(SocketAddress::Resolve(L"127.0.0.1", L"57555"), SocketAddress::Loopback(57555));
    EXPECT_EQ(SocketAddress::Resolve(L"localhost", L"65535"), SocketAddress::Loopback(65535));
    EXPECT_EQ(SocketAddress::Resolve(L"::1", L"1", SocketAddress::Family::IPv6).ToText(), L"0:0:0:0:0:0:0:1");
}

TEST(SocketAddressTest, RefusesWhatIsNoAddress)
{
    const auto error = [](const wchar_t* host, const wchar_t* service)
    { return test::ErrorOf([&] { SocketAddress::Resolve(host, service); }); };
    EXPECT_EQ(error(L"::1", L"7"), "No remote address found for host '::1' and service '7'");
    EXPECT_THAT(error(L"", L"7"), testing::EndsWith(", Winsock error number = 11001: Host not found."));
    for (const wchar_t* service : {L"", L"65536", L"-1", L"no-such-service"})
    {
        EXPECT_THAT(error(L"127.0.0.1", service),
            testing::AllOf(testing::StartsWith("GetAddrInfo() failed in qpr::SocketAddress::SetRemoteAddress."),
                testing::EndsWith(", Winsock error number = 10109: Class type not found.")));
    }
}

} // namespace
