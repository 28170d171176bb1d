#include "distributor/LogListener.h"

#include "runtime/threads/Cancellation.h"

#include <gtest/gtest.h>

#include <thread>

TEST(LogListenerTest, ClosesConnectionsFromOtherComputersThanTheClients)
{
    const qpr::SocketAddress client(qpr::SocketAddress::Family::IPv4, {127, 0, 0, 2}, 0);
    qxd::LogListener listener(qpr::SocketAddress::Loopback(0), client);
    qpr::Cancellation cancellation;
    std::thread acceptor([&] { EXPECT_THROW(listener.Accept(cancellation), std::runtime_error); });
    qpr::Socket stranger = qpr::Socket::Create(qpr::SocketAddress::Family::IPv4);
    stranger.Connect(qpr::SocketAddress::Loopback(listener.Port()));
    stranger.WaitForInput();
    EXPECT_TRUE(stranger.HasInputEnded());
    cancellation.Cancel();
    acceptor.join();
}
