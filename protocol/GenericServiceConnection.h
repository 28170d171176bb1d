#pragma once

#include "protocol/ByteStreams.h"
#include "runtime/Errors.h"

#include <qxmi/internal/IServiceConnectionExW.h>

#include <functional>
#include <memory>
#include <string>
#include <utility>

namespace qxm
{

/// What a connection tells about its call.
struct ServiceConnectionFacts
{
    std::wstring serviceName;
    std::wstring clientIdentifier;
    std::wstring servantIdentification;
    bool isLocal = false;
    unsigned numberOfProcessorsToUse = 0; ///< 0: there is no such number
};

/// A service connection straight over a channel: a pipe in each direction, or a socket. Owns reader and writer; the
/// channel under them is the conversation's and outlives it.
template <class Reader, class Writer>
class GenericServiceConnection final : public qxmi::internal::IServiceConnectionExW
{
public:
    /// closeOutput ends the sending direction of the channel.
    GenericServiceConnection(std::unique_ptr<Reader> reader, std::unique_ptr<Writer> writer,
        ServiceConnectionFacts facts, std::function<void()> closeOutput)
        : m_reader(std::move(reader))
        , m_writer(std::move(writer))
        , m_inputStream(*m_reader, bufferSize)
        , m_outputStream(*m_writer, bufferSize)
        , m_facts(std::move(facts))
        , m_closeOutput(std::move(closeOutput))
    {
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
        if (!m_closeOutput)
            return;
        m_outputStream.flush();
        m_outputStream.End();
        std::exchange(m_closeOutput, nullptr)();
    }

    std::uint64_t BytesTransferred() const override
    {
        return m_inputStream.BytesTransferred() + m_outputStream.BytesTransferred();
    }

    void Abandon() noexcept override { m_outputStream.End(); }

private:
    static constexpr std::size_t bufferSize = 65536; // bytes, what a pipe holds

    std::unique_ptr<Reader> m_reader;
    std::unique_ptr<Writer> m_writer;
    qpr::GenericInputStream<Reader> m_inputStream;
    qpr::GenericOutputStream<Writer> m_outputStream;
    ServiceConnectionFacts m_facts;
    std::function<void()> m_closeOutput;
};

} // namespace qxm
