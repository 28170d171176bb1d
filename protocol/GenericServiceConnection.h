#pragma once

#include "runtime/text/Errors.h"
#include "streams/ByteStreams.h"

#include <qxmi/internal/IServiceConnectionExW.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace qxm
{

/// The public WaitForServantEnd, which is the same for every connection.
inline bool EndInputAndAwaitServant(qxmi::internal::IServiceConnectionExW& connection, qxmi::ServantEnd& end)
{
    try
    {
        connection.CloseOutput();
    }
    catch (const qpr::PeerClosedError&) // what the servant does not take is dropped
    {
        connection.Abandon();
    }
    return connection.AwaitServantEnd(end);
}

/// What a connection tells about its call.
struct ServiceConnectionFacts
{
    std::wstring serviceName;
    std::wstring clientIdentifier;
    std::wstring servantIdentification;
    bool isLocal = false;
    unsigned numberOfProcessorsToUse = 0; ///< 0: there is no such number
};

/// What a connection asks of the conversation that holds its channel.
struct ServantControl
{
    std::function<void()> closeInput; ///< ends the sending direction of the channel
    std::function<bool(qxmi::ServantEnd&)> awaitEnd; ///< as IServiceConnectionExW::AwaitServantEnd
};

/// A service connection straight over a channel: a pipe in each direction, or a socket. Owns reader and writer; the
/// channel under them is the conversation's and outlives it.
template <class Reader, class Writer>
class GenericServiceConnection final : public qxmi::internal::IServiceConnectionExW
{
public:
    GenericServiceConnection(std::unique_ptr<Reader> reader, std::unique_ptr<Writer> writer,
        ServiceConnectionFacts facts, ServantControl servant)
        : m_reader(std::move(reader))
        , m_writer(std::move(writer))
        , m_inputStream(*m_reader, bufferSize)
        , m_outputStream(*m_writer, bufferSize)
        , m_facts(std::move(facts))
        , m_servant(std::move(servant))
    {
    }

    /// For a conversation that reads the servant's answer from the connection itself.
    void SetServantIdentification(std::wstring identification)
    {
        m_facts.servantIdentification = std::move(identification);
    }

    std::istream& InputStream() override { return m_inputStream; }
    std::ostream& OutputStream() override { return m_outputStream; }
    std::wstring GetServiceName() const override { return m_facts.serviceName; }
    std::wstring GetClientIdentifier() const override { return m_facts.clientIdentifier; }
    std::wstring GetServantIdentification() const override { return m_facts.servantIdentification; }
    bool IsLocal() const override { return m_facts.isLocal; }

    unsigned GetNumberOfProcessorsToUse() const override
    {
        if (m_facts.numberOfProcessorsToUse == 0)
            throw qpr::RuntimeError(L"Unexpected call to qxmi::IServiceConnection::GetNumberOfProcessorsToUse()");
        return m_facts.numberOfProcessorsToUse;
    }

    bool IsCompressed() const override { return false; }
    bool InputPending() override { return m_inputStream.InputPending(); }

    void CloseOutput() override
    {
        if (!m_servant.closeInput)
            return;
        m_outputStream.flush();
        m_outputStream.End();
        std::exchange(m_servant.closeInput, nullptr)();
    }

    bool WaitForServantEnd(qxmi::ServantEnd& end) override { return EndInputAndAwaitServant(*this, end); }

    void Abandon() noexcept override
    {
        m_outputStream.End();
        if (!m_servant.closeInput)
            return;
        try
        {
            std::exchange(m_servant.closeInput, nullptr)();
        }
        catch (const std::exception&) // a broken channel has told the servant already
        {
        }
    }

    bool AwaitServantEnd(qxmi::ServantEnd& end) override { return m_servant.awaitEnd(end); }

private:
    static constexpr std::size_t bufferSize = 65536; // bytes, what a pipe holds

    std::unique_ptr<Reader> m_reader;
    std::unique_ptr<Writer> m_writer;
    qpr::GenericInputStream<Reader> m_inputStream;
    qpr::GenericOutputStream<Writer> m_outputStream;
    ServiceConnectionFacts m_facts;
    ServantControl m_servant;
};

} // namespace qxm
