#pragma once

#include "runtime/channels/Socket.h"
#include "runtime/threads/IRunnable.h"
#include "runtime/threads/Thread.h"

#include <functional>
#include <string>
#include <string_view>

/// A distributor that says what a test tells it to, to one client after the other.
namespace test
{

/// Host description and prompt of a distributor on a computer called "elsewhere".
std::string DistributorGreeting(const std::string& version = "13.0.0.0");

/// One client's connection, on the distributor's thread.
class ScriptedClient
{
public:
    explicit ScriptedClient(qpr::Socket socket)
        : m_socket(std::move(socket))
    {
    }

    void Send(std::string_view bytes);

    /// Sends each byte on its own.
    void SendBytewise(std::string_view bytes);

    /// What the client sends up to a line feed, that included; less when it ends.
    std::string ReadLine();

    /// Greets, and takes login and request; returns the request line.
    std::string AcceptRequest();

    /// Tells the port of a new listener and waits for the client to connect to it.
    qpr::Socket OpenLogConnection();

    /// Ends what is sent; the client reads the end of the data. What it still sends is taken.
    void BreakOff();

    /// Says nothing more, until the client goes.
    void Stall();

    qpr::Socket& GetSocket() noexcept { return m_socket; }

private:
    qpr::Socket m_socket;
};

/// Listens on loopback, on a thread of its own, until it is destroyed; whatever it waits for then ends.
class ScriptedDistributor final : private qpr::IRunnable
{
public:
    /// The script is run for each client; what it throws fails the test.
    explicit ScriptedDistributor(std::function<void(ScriptedClient&)> script);

    std::wstring Host() const { return L"127.0.0.1"; }
    std::wstring Port() const { return std::to_wstring(m_listener.GetLocalAddress().Port()); }
    qpr::SocketAddress Address() const { return m_listener.GetLocalAddress(); }

private:
    void Run() override;
    void HandleError(const std::exception& error) override;

    std::function<void(ScriptedClient&)> m_script;
    qpr::Socket m_listener;
    qpr::Thread m_thread; // last: starts when the rest is there, interrupted and joined first
};

} // namespace test
