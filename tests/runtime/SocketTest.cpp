#include "runtime/channels/Socket.h"

#include "runtime/FunctionRunnable.h"
#include "runtime/threads/Cancellation.h"
#include "runtime/threads/Thread.h"
#include "support/ErrorOf.h"
#include "support/SocketPair.h"
#include "support/SocketText.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <thread>

namespace
{

using qpr::Cancellation;
using qpr::Socket;
using qpr::SocketAddress;
using qpr::SocketReader;
using qpr::SocketWriter;
using test::ErrorOf;
using test::ReadToEnd;
using test::SocketPair;
using test::WriteTo;

TEST(SocketTest, CarriesMoreThanItsBuffersHoldToTheEndOfTheData)
{
    SocketPair pair;
    pair.client.SetSendBufferSize(65536);
    pair.server.SetReceiveBufferSize(65536);
    std::string sent(3'000'001, '\0');
    for (std::size_t index = 0; index < sent.size(); ++index)
        sent[index] = static_cast<char>(index * 7 + index / 1000);

    std::thread sender(
        [&]
        {
            WriteTo(pair.client, sent);
            pair.client.Shutdown(Socket::Direction::Send);
        });
    const std::string received = ReadToEnd(pair.server);
    sender.join();
    EXPECT_TRUE(received == sent);
}

TEST(SocketTest, TellsWhetherAReadWouldBlock)
{
    SocketPair pair;
    SocketReader reader(pair.server);
    EXPECT_FALSE(reader.InputPending());

    WriteTo(pair.client, "x");
    pair.server.WaitForInput();
    EXPECT_TRUE(reader.InputPending());
    char byte = 0;
    EXPECT_EQ(reader.Read(&byte, 1), 1u);
    EXPECT_FALSE(reader.InputPending());

    pair.client.Close();
    pair.server.WaitForInput();
    EXPECT_TRUE(reader.InputPending());
    EXPECT_EQ(reader.Read(&byte, 1), 0u);
}

TEST(SocketTest, ReportsFailedCallsByTheirNamesWithoutASignal)
{
    Socket unconnected = Socket::Create(SocketAddress::Family::IPv4);
    const std::string notConnected = ", Winsock error number = 10057: Socket is not connected.";
    Socket none;
    const Socket taken = Socket::Listen(SocketAddress::Loopback(0));
    const std::string noSocket = "Invalid Socket";
    SocketPair pair;
    pair.server.Close();
    char byte = 0;
    const std::tuple<std::function<void()>, std::string, std::string> cases[] = {
        // The end of a connection has no place in the program.
        {[&]
            {
                for (;;)
                    WriteTo(pair.client, "more than it may hold");
            },
            "WSASend() failed, Winsock error number = 10054: Connection reset by peer.", ""},
        // Told to the reader too, although the system tells it once.
        {[&] { SocketReader(pair.client).Read(&byte, 1); },
            "WSARecv() failed, Winsock error number = 10054: Connection reset by peer.", ""},
        {[&] { unconnected.GetRemoteAddress(); }, "getpeername() failed in qpr::Socket::GetRemoteAddress.",
            notConnected},
        {[&] { unconnected.Shutdown(Socket::Direction::Both); }, "shutdown() failed in qpr::Socket::Shutdown.",
            notConnected},
        {[&] { SocketReader(none).Read(&byte, 1); }, noSocket, ""},
        {[&] { none.GetLocalAddress(); }, noSocket, ""},
        {[&] { none.SetSendBufferSize(1); }, noSocket, ""},
        {[&] { none.TryAccept(); }, noSocket, ""},
        {[&] { Socket::Listen(taken.GetLocalAddress()); }, "bind() failed in qpr::Socket::Listen.",
            ", Winsock error number = 10048: Address already in use."},
    };
    for (const auto& [action, start, end] : cases)
        EXPECT_THAT(ErrorOf(action), testing::AllOf(testing::StartsWith(start), testing::EndsWith(end)));
}

TEST(SocketTest, AnInterruptEndsEveryWait)
{
    SocketPair pair;
    Socket fullListener = Socket::Listen(SocketAddress::Loopback(0), 0);
    Socket first = Socket::Create(SocketAddress::Family::IPv4);
    first.Connect(fullListener.GetLocalAddress());
    Socket second = Socket::Create(SocketAddress::Family::IPv4);
    char byte = 0;
    const std::string data(10'000, 'x');
    const std::pair<const char*, std::function<void()>> cases[] = {
        {"a connect that hangs", [&] { second.Connect(fullListener.GetLocalAddress()); }},
        {"a read", [&] { SocketReader(pair.server).Read(&byte, 1); }},
        {"waiting for input", [&] { pair.server.WaitForInput(); }},
        {"a write that nobody reads",
            [&]
            {
                for (;;)
                    WriteTo(pair.client, data);
            }},
        {"looking for input again and again",
            [&]
            {
                SocketReader reader(pair.client);
                for (;;)
                    reader.InputPending();
            }},
    };
    for (const auto& [name, wait] : cases)
    {
        test::FunctionRunnable action(wait);
        {
            qpr::Thread thread(action);
        }
        EXPECT_EQ(action.Outcome(), "interrupted") << name;
    }
}

TEST(SocketTest, ACancelEndsReadsAndWritesAlsoWhenTheyWouldNotBlock)
{
    SocketPair pair;
    Cancellation cancellation;
    SocketReader reader(pair.server, cancellation);
    std::string readerError;
    std::thread blockedReader(
        [&]
        {
            char byte = 0;
            readerError = ErrorOf([&] { reader.Read(&byte, 1); });
        });
    cancellation.Cancel();
    blockedReader.join();
    EXPECT_EQ(readerError, "Call cancelled");

    char byte = 'x';
    WriteTo(pair.client, "x");
    pair.server.WaitForInput();
    EXPECT_EQ(ErrorOf([&] { reader.Read(&byte, 1); }), "Call cancelled");
    EXPECT_EQ(ErrorOf([&] { reader.InputPending(); }), "Call cancelled");
    EXPECT_EQ(ErrorOf([&] { SocketWriter(pair.server, cancellation).Write(&byte, 1); }), "Call cancelled");
}

TEST(SocketTest, AMovedSocketIsOpenOnce)
{
    SocketPair pair;
    Socket moved(std::move(pair.client));
    EXPECT_FALSE(pair.client.IsOpen());
    Socket& itself = moved;
    moved = std::move(itself);
    WriteTo(moved, "x");
    moved = Socket::Create(SocketAddress::Family::IPv4); // closes the connected one
    EXPECT_EQ(ReadToEnd(pair.server), "x");
}

} // namespace
