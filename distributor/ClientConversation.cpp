#include "distributor/ClientConversation.h"

#include "distributor/ByteCopy.h"
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

qpr::Wait Within(std::uint32_t timeoutMs)
{
    return qpr::Wait().Until(qpr::Deadline(timeoutMs), L"The client took too long");
}

qpr::Wait Attended(const qpr::Socket& client, std::uint32_t timeoutMs)
{
    const auto onInput = [&client]() -> std::uint32_t
    {
        throw qpr::RuntimeError(
            client.HasInputEnded() ? L"The client is gone" : L"The client sent data before it had a servant");
    };
    return Within(timeoutMs).Or(client.InputObject(), onInput);
}

ClientConversation::ClientConversation(qpr::Socket& socket, const qpr::Wait& wait)
    : m_reader(socket, wait)
    , m_inputBytes(m_reader, bufferSize)
    , m_input(m_inputBytes)
    , m_writer(socket, wait)
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
        ClientConversation conversation(client, Within(partingTimeMs));
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
        qpr::SocketReader reader(client, Within(partingTimeMs));
        DiscardBytes(reader);
    }
    catch (const std::exception&)
    {
    }
}

} // namespace qxd
