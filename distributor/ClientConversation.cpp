#include "distributor/ClientConversation.h"

#include "distributor/ByteCopy.h"
#include "distributor/DeadlineWaiter.h"
#include "protocol/LineConversation.h"
#include "runtime/Errors.h"

#include <algorithm>

namespace qxd
{
namespace
{

constexpr std::size_t bufferSize = 1024;
constexpr std::uint32_t partingTimeMs = 5000;

std::wstring OneLine(std::wstring text)
{
    std::ranges::replace_if(
        text, [](wchar_t character) { return character < L' '; }, L' ');
    return text;
}

} // namespace

ClientConversation::ClientConversation(qpr::Socket& socket, const qpr::IWaiter& waiter)
    : m_reader(socket, waiter)
    , m_inputBytes(m_reader, bufferSize)
    , m_input(m_inputBytes)
    , m_writer(socket, waiter)
    , m_outputBytes(m_writer, bufferSize)
    , m_output(m_outputBytes)
{
}

qxm::HostDescription ClientConversation::LogIn(qxm::HostDescriptionMemo& clients)
{
    try
    {
        qxm::HostDescription client = clients.Read(qxm::ReadLine(m_input));
        m_output << L"$ " << std::flush;
        return client;
    }
    catch (const qpr::RuntimeError& error)
    {
        WriteLine(L"! " + qpr::ErrorText(error));
        Flush();
        throw;
    }
}

std::wstring ClientConversation::ReadRequestLine()
{
    return qxm::ReadLine(m_input);
}

void ClientConversation::WriteLine(std::wstring line)
{
    m_output << OneLine(std::move(line)) << L"\r\n";
}

void TellAndPartFrom(qpr::Socket& client, const std::wstring& reason)
{
    try
    {
        const DeadlineWaiter waiter(partingTimeMs);
        ClientConversation conversation(client, waiter);
        conversation.WriteLine(reason);
        conversation.Flush();
    }
    catch (const std::exception&)
    {
    }
    PartFrom(client);
}

void PartFrom(qpr::Socket& client)
{
    if (!client.TryShutdown(qpr::Socket::Direction::Send))
        return;
    try
    {
        const DeadlineWaiter waiter(partingTimeMs);
        qpr::SocketReader reader(client, waiter);
        DiscardBytes(reader);
    }
    catch (const std::exception&)
    {
    }
}

} // namespace qxd
