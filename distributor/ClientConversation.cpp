#include "distributor/ClientConversation.h"

#include "distributor/ByteCopy.h"
#include "protocol/LineConversation.h"
#include "runtime/text/Errors.h"
#include "runtime/text/PrintableText.h"

#include <algorithm>
#include <utility>

namespace qxd
{
namespace
{

constexpr std::size_t lineBufferSize = 1024;
constexpr std::uint32_t partingTimeMs = 5000;

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

std::size_t BoundedReader::Read(void* buffer, std::size_t size)
{
    // One byte more than may come tells that it did.
    const std::size_t count = m_reader.Read(buffer, std::min(size, m_left + 1));
    if (count > m_left)
        throw qpr::RuntimeError(L"The client said more than 65536 bytes before it had a servant");
    m_left -= count;
    return count;
}

ClientConversation::ClientConversation(qpr::Socket& socket, const qpr::Wait& wait)
    : m_reader(socket, wait)
    , m_inputBytes(m_reader, lineBufferSize)
    , m_input(m_inputBytes)
    , m_writer(socket, wait)
    , m_outputBytes(m_writer, lineBufferSize)
    , m_output(m_outputBytes)
{
}

qxm::HostDescription ClientConversation::LogIn()
{
    try
    {
        qxm::HostDescription client = qxm::HostDescription::Read(qxm::ReadLine(m_input), L"client");
        if (!qxm::HostDescription::IsIdentifier(client.identifier))
            throw qpr::RuntimeError(L"Invalid client identifier '" + client.identifier + L"'");
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

void ClientConversation::WriteLine(std::wstring_view line)
{
    m_output << qpr::Printable(line) << L"\r\n";
}

void TellAndPartFrom(qpr::Socket& client, ClientConversation& conversation, const std::wstring& reason)
{
    try
    {
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
        client.SetResetOnClose(false);
        qpr::SocketReader reader(client, Within(partingTimeMs));
        DiscardBytes(reader);
    }
    catch (const std::exception&)
    {
    }
}

} // namespace qxd
