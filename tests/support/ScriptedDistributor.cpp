#include "support/ScriptedDistributor.h"

#include "runtime/text/Errors.h"
#include "support/SocketText.h"

#include <gtest/gtest.h>

namespace test
{

std::string DistributorGreeting(const std::string& version)
{
    return "distributor elsewhere/1 Version=" + version
        + " HostName=elsewhere ProcessId=1 UserName=\"some one\" OSType=Linux CpuLayout= CpuCount=4 CpuType=X64 "
          "CpuInfo=\"cpu\" CpuScore=1 MemSize=1024MB LAAAASpace=4096MB\r\n$ ";
}

void ScriptedClient::Send(std::string_view bytes)
{
    WriteTo(m_socket, bytes);
}

void ScriptedClient::SendBytewise(std::string_view bytes)
{
    m_socket.SendWithoutDelay();
    for (const char byte : bytes)
        Send(std::string_view(&byte, 1));
}

std::string ScriptedClient::ReadLine()
{
    return ReadLineFrom(m_socket);
}

std::string ScriptedClient::AcceptRequest()
{
    Send(DistributorGreeting());
    ReadLine();
    Send("$ ");
    const std::string request = ReadLine();
    Send("service request accepted\r\n");
    return request;
}

qpr::Socket ScriptedClient::OpenLogConnection()
{
    qpr::Socket listener = qpr::Socket::Listen(qpr::SocketAddress::Loopback(0));
    Send("establish log connection to port " + std::to_string(listener.GetLocalAddress().Port()) + "\r\n");
    listener.WaitForInput();
    return std::move(*listener.TryAccept());
}

void ScriptedClient::BreakOff()
{
    m_socket.Shutdown(qpr::Socket::Direction::Send);
    Stall();
}

void ScriptedClient::Stall()
{
    try
    {
        while (!ReadLine().empty())
        {
        }
    }
    catch (const qpr::RuntimeError&) // a client that goes with bytes unread resets the connection
    {
    }
}

ScriptedDistributor::ScriptedDistributor(std::function<void(ScriptedClient&)> script)
    : m_script(std::move(script))
    , m_listener(qpr::Socket::Listen(qpr::SocketAddress::Loopback(0)))
    , m_thread(*this)
{
}

void ScriptedDistributor::Run()
{
    for (;;)
    {
        m_listener.WaitForInput();
        if (auto socket = m_listener.TryAccept())
        {
            ScriptedClient client(std::move(*socket));
            m_script(client);
        }
    }
}

void ScriptedDistributor::HandleError(const std::exception& error)
{
    ADD_FAILURE() << "scripted distributor: " << error.what();
}

} // namespace test
