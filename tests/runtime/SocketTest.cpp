#include "runtime/Socket.h"

#include "runtime/Cancellation.h"
#include "runtime/FunctionRunnable.h"
#include "runtime/Thread.h"
#include "support/ErrorOf.h"
#include "support/SocketPair.h"

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
using test::SocketPair;

std::string ReadAll(Socket& socket, std::size_t pieceSize)
{
    SocketReader reader(socket);
    std::string all;
    std::string piece(pieceSize, '\0');
    while (const std::size_t count = reader.Read(piece.data(), piece.size()))
        all.append(piece, 0, count);
    return all;
}

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
            SocketWriter(pair.client).Write(sent.data(), sent.size());
            pair.client.Shutdown(Socket::Direction::Send);
        });
    const std::string received = ReadAll(pair.server, 10'000);
    sender.join();
    EXPECT_TRUE(received == sent);
}

TEST(SocketTest, TellsWhetherAReadWouldBlock)
{
    SocketPair pair;
    SocketReader reader(pair.server);
    EXPECT_FALSE(reader.InputPending());

    SocketWriter(pair.client).Write("x", 1);
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

TEST(SocketTest, ConnectingWhereNobodyListensIsRefusedWithoutAPlace)
{
    SocketAddress address;
    {
        const Socket listener = Socket::Listen(SocketAddress::Loopback(0));
        address = listener.GetLocalAddress();
    }
    Socket socket = Socket::Create(SocketAddress::Family::IPv4);
    EXPECT_EQ(ErrorOf([&] { socket.Connect(address); }),
        "WSAConnect() failed, Winsock error number = 10061: Connection refused.");
}

TEST(SocketTest, WritingToAPeerThatHasGoneFailsWithoutASignal)
{
    SocketPair pair;
    pair.server.Close();
    const std::string data(10'000, 'x');
    EXPECT_EQ(ErrorOf(
                  [&]
                  {
                      for (;;)
                          SocketWriter(pair.client).Write(data.data(), data.size());
                  }),
        "WSASend() failed, Winsock error number = 10054: Connection reset by peer.");
}

TEST(SocketTest, ReportsFailedCallsByTheirNames)
{
    Socket unconnected = Socket::Create(SocketAddress::Family::IPv4);
    const std::string notConnected = ", Winsock error number = 10057: Socket is not connected.";
    Socket none;
    const Socket taken = Socket::Listen(SocketAddress::Loopback(0));
    const std::string noSocket = ", Winsock error number = 10038: Socket operation on nonsocket.";
    char byte = 0;
    const struct
    {
        std::function<void()> action;
        std::string start;
        std::string end;
    } cases[] = {
        {[&] { unconnected.GetRemoteAddress(); }, "getpeername() failed in qpr::Socket::GetRemoteAddress.",
            notConnected},
        {[&] { unconnected.Shutdown(Socket::Direction::Both); }, "shutdown() failed in qpr::Socket::Shutdown.",
            notConnected},
        {[&] { SocketReader(none).Read(&byte, 1); }, "WSARecv() failed in qpr::SocketReader::Read.", noSocket},
        {[&] { none.GetLocalAddress(); }, "getsockname() failed in qpr::Socket::GetLocalAddress.", noSocket},
        {[&] { none.SetSendBufferSize(1); }, "setsockopt() failed in qpr::Socket::SetOption.", noSocket},
        {[&] { none.TryAccept(); }, "accept() failed in qpr::Socket::TryAccept.", noSocket},
        {[&] { Socket::Listen(taken.GetLocalAddress()); }, "bind() failed in qpr::Socket::Listen.",
            ", Winsock error number = 10048: Address already in use."},
    };
    for (const auto& test : cases)
    {
        const std::string error = ErrorOf(test.action);
        EXPECT_THAT(error, testing::StartsWith(test.start));
        EXPECT_THAT(error, testing::EndsWith(test.end));
    }
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
    const struct
    {
        const char* name;
        std::function<void()> action;
    } cases[] = {
        {"a connect that hangs", [&] { second.Connect(fullListener.GetLocalAddress()); }},
        {"a read", [&] { SocketReader(pair.server).Read(&byte, 1); }},
        {"waiting for input", [&] { pair.server.WaitForInput(); }},
        {"a write that nobody reads",
            [&]
            {
                for (;;)
                    SocketWriter(pair.client).Write(data.data(), data.size());
            }},
        {"looking for input again and again",
            [&]
            {
                SocketReader reader(pair.client);
                for (;;)
                    reader.InputPending();
            }},
    };
    for (const auto& test : cases)
    {
        test::FunctionRunnable action(test.action);
        {
            qpr::Thread thread(action);
        }
        EXPECT_EQ(action.Outcome(), "interrupted") << test.name;
    }
}

TEST(SocketTest, ACancelEndsReadsAndWritesAlsoWhenTheyWouldNotBlock)
{
    SocketPair pair;
    Cancellation cancellation;
    SocketReader reader(pair.server, &cancellation);
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
    SocketWriter(pair.client).Write(&byte, 1);
    pair.server.WaitForInput();
    EXPECT_EQ(ErrorOf([&] { reader.Read(&byte, 1); }), "Call cancelled");
    EXPECT_EQ(ErrorOf([&] { reader.InputPending(); }), "Call cancelled");
    EXPECT_EQ(ErrorOf([&] { SocketWriter(pair.server, &cancellation).Write(&byte, 1); }), "Call cancelled");
}

TEST(SocketTest, AMovedSocketIsOpenOnce)
{
    SocketPair pair;
    Socket moved(std::move(pair.client));
    EXPECT_FALSE(pair.client.IsOpen());
    Socket& itself = moved;
    moved = std::move(itself);
    SocketWriter(moved).Write("x", 1);
    moved = Socket::Create(SocketAddress::Family::IPv4); // closes the connected one
    EXPECT_EQ(ReadAll(pair.server, 10), "x");
}

} // namespace
