#pragma once

#include "runtime/channels/Socket.h"

namespace test
{

/// Two ends of one loopback connection.
struct SocketPair
{
    SocketPair()
    {
        qpr::Socket listener = qpr::Socket::Listen(qpr::SocketAddress::Loopback(0));
        client = qpr::Socket::Create(qpr::SocketAddress::Family::IPv4);
        client.Connect(listener.GetLocalAddress());
        listener.WaitForInput();
        server = *listener.TryAccept();
    }

    qpr::Socket client;
    qpr::Socket server;
};

} // namespace test
