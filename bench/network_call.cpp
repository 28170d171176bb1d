// What a whole call through qx-distributor on loopback costs (create, start, 64 bytes echoed, end, wait), one after the
// other: beside a local call of the same servant, one written with the kit and the smallest that there can be, which is
// up in a fraction of that time. For information: beside the least that goes the same way: blocking connects, the
// lines, and a spawn that gives the smallest servant the sockets themselves. Argument: turns.

#include "bench/DistributorProcess.h"
#include "bench/Installation.h"
#include "bench/Report.h"
#include "bench/Timing.h"
#include "client/ServiceConnectors.h"

#include <qxmi/IServiceConnectionW.h>

#include <arpa/inet.h>
#include <array>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace
{

using bench::Reach;

constexpr std::size_t messageSize = 64;
constexpr int callsATurn = 10; // of each side: then what else runs on the computer disturbs all alike

void Require(bool condition, const char* what)
{
    if (condition)
        return;
    std::fprintf(stderr, "%s failed\n", what);
    std::_Exit(1);
}

void EchoMessage(qxmi::IServiceConnectionW& connection)
{
    const std::array<char, messageSize> message{};
    std::array<char, messageSize> answer;
    connection.OutputStream().write(message.data(), message.size());
    connection.OutputStream().flush();
    connection.InputStream().read(answer.data(), answer.size());
}

void CallServants(qxmi::IServiceConnectorW& connector)
{
    bench::Request request(L"Echo", EchoMessage);
    for (int i = 0; i < callsATurn; ++i)
    {
        const bench::CallPtr call(connector.CreateServiceCall(request));
        call->Wait();
    }
}

sockaddr_in LoopbackAddress(std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

int NewSocket()
{
    const int descriptor = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    Require(descriptor >= 0, "socket");
    const int on = 1;
    setsockopt(descriptor, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    return descriptor;
}

int Listen(std::uint16_t& port)
{
    const int listener = NewSocket();
    sockaddr_in address = LoopbackAddress(0);
    socklen_t size = sizeof address;
    Require(bind(listener, reinterpret_cast<sockaddr*>(&address), size) == 0 && listen(listener, 8) == 0
            && getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size) == 0,
        "listen");
    port = ntohs(address.sin_port);
    return listener;
}

int Connect(std::uint16_t port)
{
    const int descriptor = NewSocket();
    const sockaddr_in address = LoopbackAddress(port);
    Require(connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0, "connect");
    return descriptor;
}

void Say(int descriptor, const std::string& text)
{
    Require(write(descriptor, text.data(), text.size()) == static_cast<ssize_t>(text.size()), "write");
}

/// What has come, up to an end: "\n" for a line, "$ " for a prompt.
std::string Hear(int descriptor, const std::string& end)
{
    std::string text;
    std::array<char, 1024> piece;
    while (!text.ends_with(end))
    {
        const ssize_t count = read(descriptor, piece.data(), piece.size());
        Require(count > 0, "read");
        text.append(piece.data(), static_cast<std::size_t>(count));
    }
    return text;
}

const std::string hostLine(250, 'h'); // as long as host descriptions are

/// Serves as many clients as there are, one after the other.
class BareDistributor
{
public:
    BareDistributor()
        : m_listener(Listen(m_port))
        , m_logListener(Listen(m_logPort))
        , m_thread([this] { Serve(); })
    {
    }
    ~BareDistributor()
    {
        shutdown(m_listener, SHUT_RDWR);
        m_thread.join();
        close(m_listener);
        close(m_logListener);
    }
    BareDistributor(const BareDistributor&) = delete;
    BareDistributor& operator=(const BareDistributor&) = delete;

    std::uint16_t Port() const { return m_port; }

private:
    void Serve()
    {
        for (int client; (client = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC)) >= 0;)
        {
            Say(client, hostLine + "\n$ ");
            Hear(client, "\n");
            Say(client, "$ ");
            Hear(client, "\n");
            Say(client,
                "service request accepted\nestablish log connection to port " + std::to_string(m_logPort) + "\n");
            const int log = accept4(m_logListener, nullptr, nullptr, SOCK_CLOEXEC);
            Require(log >= 0, "accept");
            const pid_t process = Spawn(client, log);
            close(client);
            close(log);
            int status = 0;
            Require(waitpid(process, &status, 0) == process && status == 0, "servant");
        }
    }

    static pid_t Spawn(int client, int log)
    {
        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        posix_spawn_file_actions_adddup2(&actions, client, 0);
        posix_spawn_file_actions_adddup2(&actions, client, 1);
        posix_spawn_file_actions_adddup2(&actions, log, 2);
        std::array<std::string, 3> texts{bench::ProgramPath("bench_call_servant"), "execute", "Echo"};
        std::array<char*, 4> arguments{texts[0].data(), texts[1].data(), texts[2].data(), nullptr};
        pid_t process = 0;
        Require(posix_spawn(&process, texts[0].c_str(), &actions, nullptr, arguments.data(), environ) == 0, "spawn");
        posix_spawn_file_actions_destroy(&actions);
        return process;
    }

    std::uint16_t m_port = 0;
    std::uint16_t m_logPort = 0;
    const int m_listener;
    const int m_logListener;
    std::thread m_thread;
};

void CallBare(std::uint16_t port)
{
    for (int i = 0; i < callsATurn; ++i)
    {
        const int client = Connect(port);
        Hear(client, "$ ");
        Say(client, hostLine + "\n");
        Hear(client, "$ ");
        Say(client, "call Echo\n");
        const std::string lines = Hear(client, "\n");
        const int log = Connect(static_cast<std::uint16_t>(std::stoi(lines.substr(lines.rfind(' ') + 1))));
        Hear(client, "\n");
        Say(client, std::string(messageSize, 'm'));
        Hear(client, "m");
        shutdown(client, SHUT_WR);
        char byte = 0;
        while (read(log, &byte, 1) > 0)
            continue;
        close(client);
        close(log);
    }
}

/// One servant, to be called both ways.
class Servant
{
public:
    explicit Servant(const char* program)
        : m_services(program, {"Echo"})
        , m_distributor(m_services, 2)
        , m_installation(program, {"Echo"}, m_distributor.Port())
        , m_network(m_installation.MakeConnector<QxClient::NetworkServiceConnector>())
        , m_local(m_installation.MakeConnector<QxClient::LocalServiceConnector>())
    {
    }

    void CallByNetwork() { CallServants(*m_network); }
    void CallLocally() { CallServants(*m_local); }

private:
    const bench::Installation m_services;
    const bench::DistributorProcess m_distributor;
    const bench::Installation m_installation;
    const bench::ConnectorPtr m_network;
    const bench::ConnectorPtr m_local;
};

/// Microseconds a call.
struct Times
{
    double network;
    double peer;
};

template <class Peer>
Times Measure(int turns, Servant& servant, Peer callPeer)
{
    constexpr double microseconds = 1e6 / callsATurn;
    const auto [network, peer] = bench::MeasureInTurns(
        turns, [&] { servant.CallByNetwork(); }, callPeer);
    return {network * microseconds, peer * microseconds};
}

bool CompareWithLocal(const char* what, int turns, Servant& servant)
{
    const Times times = Measure(turns, servant, [&] { servant.CallLocally(); });
    return bench::Compare(what, times.network, "local calls", times.peer, "us", Reach::AtMost, 1.55);
}

} // namespace

int main(int argc, char** argv)
{
    const int turns = argc > 1 ? std::atoi(argv[1]) : 51;
    Servant ofTheKit("bench_kit_servant");
    Servant smallest("bench_call_servant");
    BareDistributor bare;

    const bool kitOk = CompareWithLocal("network calls, servant of the kit", turns, ofTheKit);
    const bool smallestOk = CompareWithLocal("network calls, smallest servant", turns, smallest);
    const Times times = Measure(turns, smallest, [&] { CallBare(bare.Port()); });
    std::printf("%-44s %12.3f %-7s %-24s %12.3f  ratio %6.3f (for information)\n", "network calls, smallest servant",
        times.network, "us", "bare lines and spawn", times.peer, times.network / times.peer);
    return kitOk && smallestOk ? 0 : 1;
}
