#pragma once

#include "protocol/GenericServiceConnection.h"
#include "streams/ByteStreams.h"
#include "streams/compression/BlockedQLZ14.h"
#include "streams/compression/BlockedRawDeflate.h"

#include <qxmi/internal/IServiceConnectionExW.h>

#include <memory>
#include <string>
#include <string_view>

namespace qxm
{

/// A service connection that compresses what goes over another one, in both directions. The inner connection is not
/// owned and outlives it. The output must be flushed at the end of each request, or its last block stays here.
template <class Writer, class Reader>
class CompressedServiceConnection : public qxmi::internal::IServiceConnectionExW
{
public:
    explicit CompressedServiceConnection(qxmi::internal::IServiceConnectionExW& inner)
        : m_inner(inner)
        , m_writer(inner.OutputStream())
        , m_reader(inner.InputStream())
        , m_inputStream(m_reader, StreamBufferSize)
        , m_outputStream(m_writer, StreamBufferSize)
    {
    }

    std::istream& InputStream() override { return m_inputStream; }
    std::ostream& OutputStream() override { return m_outputStream; }
    std::wstring GetServiceName() const override { return m_inner.GetServiceName(); }
    std::wstring GetClientIdentifier() const override { return m_inner.GetClientIdentifier(); }
    std::wstring GetServantIdentification() const override { return m_inner.GetServantIdentification(); }
    bool IsLocal() const override { return m_inner.IsLocal(); }
    unsigned GetNumberOfProcessorsToUse() const override { return m_inner.GetNumberOfProcessorsToUse(); }
    bool IsCompressed() const override { return true; }

    /// What has arrived counts only when something can be unpacked from it.
    bool InputPending() override { return m_inputStream.InputPending(); }

    void CloseOutput() override
    {
        m_outputStream.flush();
        m_outputStream.End();
        m_inner.CloseOutput();
    }

    bool WaitForServantEnd(qxmi::ServantEnd& end) override { return EndInputAndAwaitServant(*this, end); }

    void Abandon() noexcept override
    {
        m_outputStream.End();
        m_inner.Abandon();
    }

    bool AwaitServantEnd(qxmi::ServantEnd& end) override { return m_inner.AwaitServantEnd(end); }

private:
    static constexpr std::size_t StreamBufferSize = 1024;

    qxmi::internal::IServiceConnectionExW& m_inner; // not owned
    Writer m_writer;
    Reader m_reader;
    qpr::GenericInputStream<Reader> m_inputStream;
    qpr::GenericOutputStream<Writer> m_outputStream;
};

/// The connection for what a servant's CompressionProtocol says, "BlockedRawDeflate" or "BlockedQLZ14"; none for any
/// other name.
std::unique_ptr<qxmi::internal::IServiceConnectionExW> CreateCompressedServiceConnection(
    qxmi::internal::IServiceConnectionExW& inner, std::wstring_view protocol);

} // namespace qxm
