// What a service connection over a socket carries on loopback beside bare blocking loops over a socket with the same
// buffers, one way and both ways at once; the far end is bare in both. Argument: MiB a transfer (1024).

#include "bench/Report.h"
#include "bench/Timing.h"
#include "protocol/GenericServiceConnection.h"
#include "runtime/channels/Socket.h"
#include "runtime/threads/Cancellation.h"

#include <algorithm>
#include <cstdlib>
#include <fcntl.h>
#include <string>
#include <sys/socket.h>
#include <thread>
#include <vector>

namespace
{

using bench::Reach;

constexpr std::size_t MiB = 1024 * 1024;
constexpr std::size_t pieceSize = 65536;
constexpr std::uint32_t socketBufferSize = 65536; // as the connections of a network call have them
constexpr int repetitions = 16; // short ones in turn: then what else runs on the computer disturbs all alike

/// Two ends of one loopback connection, with the buffers of a network call at both.
struct Connection
{
    Connection()
    {
        qpr::Socket listener = qpr::Socket::Listen(qpr::SocketAddress::Loopback(0));
        near = qpr::Socket::Create(qpr::SocketAddress::Family::IPv4);
        near.Connect(listener.GetLocalAddress());
        listener.WaitForInput();
        far = *listener.TryAccept();
        for (qpr::Socket* socket : {&near, &far})
        {
            socket->SetReceiveBufferSize(socketBufferSize);
            socket->SetSendBufferSize(socketBufferSize);
            socket->SendWithoutDelay();
        }
    }

    qpr::Socket near;
    qpr::Socket far;
};

/// Blocking system calls over one end.
class BareEnd
{
public:
    explicit BareEnd(qpr::Socket& socket)
        : m_descriptor(static_cast<int>(socket.Handle().Value()))
    {
        fcntl(m_descriptor, F_SETFL, 0);
    }

    void Send(std::size_t total)
    {
        const std::vector<char> piece(pieceSize, 'x');
        for (std::size_t sent = 0; sent < total; sent += pieceSize)
        {
            if (send(m_descriptor, piece.data(), pieceSize, MSG_NOSIGNAL) != static_cast<ssize_t>(pieceSize))
                std::abort();
        }
    }

    void Receive(std::size_t total)
    {
        std::vector<char> piece(pieceSize);
        for (std::size_t received = 0; received < total;)
        {
            const ssize_t count = recv(m_descriptor, piece.data(), piece.size(), 0);
            if (count <= 0)
                std::abort();
            received += static_cast<std::size_t>(count);
        }
    }

private:
    int m_descriptor;
};

class ConnectionEnd
{
public:
    explicit ConnectionEnd(qpr::Socket& socket)
        : m_connection(std::make_unique<qpr::SocketReader>(socket, m_cancellation),
            std::make_unique<qpr::SocketWriter>(socket, m_cancellation), {}, {[] {}, {}})
    {
    }

    void Send(std::size_t total)
    {
        const std::vector<char> piece(pieceSize, 'x');
        for (std::size_t sent = 0; sent < total; sent += pieceSize)
            m_connection.OutputStream().write(piece.data(), static_cast<std::streamsize>(piece.size()));
        m_connection.OutputStream().flush();
    }

    void Receive(std::size_t total)
    {
        std::vector<char> piece(pieceSize);
        for (std::size_t received = 0; received < total; received += pieceSize)
            m_connection.InputStream().read(piece.data(), static_cast<std::streamsize>(piece.size()));
    }

private:
    qpr::Cancellation m_cancellation;
    qxm::GenericServiceConnection<qpr::SocketReader, qpr::SocketWriter> m_connection;
};

enum class Way
{
    Out,
    In,
    Both,
};

template <class NearEnd>
void Transfer(Way way, std::size_t total)
{
    Connection connection;
    NearEnd near(connection.near);
    BareEnd far(connection.far);
    const std::size_t each = way == Way::Both ? total / 2 : total;
    std::vector<std::jthread> threads;
    if (way != Way::In)
    {
        threads.emplace_back([&] { near.Send(each); });
        threads.emplace_back([&] { far.Receive(each); });
    }
    if (way != Way::Out)
    {
        threads.emplace_back([&] { far.Send(each); });
        threads.emplace_back([&] { near.Receive(each); });
    }
}

bool CompareTransfers(const char* what, Way way, std::size_t total)
{
    const auto [ours, bare] = bench::MeasureInTurns(
        repetitions, [&] { Transfer<ConnectionEnd>(way, total); }, [&] { Transfer<BareEnd>(way, total); });
    const double size = static_cast<double>(total) / (1024.0 * MiB);
    return bench::Compare(what, size / ours, "bare sockets", size / bare, "GiB/s", Reach::AtLeast, 0.9);
}

} // namespace

int main(int argc, char** argv)
{
    const std::size_t total = (argc > 1 ? std::stoul(argv[1]) : 1024) * MiB / repetitions;
    bool ok = CompareTransfers("connection over a socket, sending", Way::Out, total);
    ok &= CompareTransfers("connection over a socket, receiving", Way::In, total);
    ok &= CompareTransfers("connection over a socket, both ways", Way::Both, total);
    return ok ? 0 : 1;
}
