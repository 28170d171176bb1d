#include "distributor/LogListener.h"

#include "support/SocketPair.h"

#include <gtest/gtest.h>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>

namespace
{

qpr::Socket SocketAt(const char* address)
{
    qpr::Socket socket = qpr::Socket::Create(qpr::SocketAddress::Family::IPv4);
    sockaddr_in native{};
    native.sin_family = AF_INET;
    native.sin_addr.s_addr = inet_addr(address);
    EXPECT_EQ(
        bind(static_cast<int>(socket.Handle().Value()), reinterpret_cast<const sockaddr*>(&native), sizeof native), 0);
    return socket;
}

TEST(LogListenerPosixTest, TakesConnectionsFromTheClientsComputerAlone)
{
    test::SocketPair client;
    qxd::LogListener listener(client.server);
    const qpr::SocketAddress address = qpr::SocketAddress::Loopback(listener.Port());
    qpr::Socket stranger = SocketAt("127.0.0.2");
    stranger.Connect(address);
    qpr::Socket expected = SocketAt("127.0.0.1");
    expected.Connect(address);

    const qpr::Socket accepted = listener.Accept(qpr::CancellableWaiter());
    EXPECT_EQ(accepted.GetRemoteAddress(), expected.GetLocalAddress());
    stranger.WaitForInput();
    EXPECT_TRUE(stranger.HasInputEnded());
}

} // namespace
