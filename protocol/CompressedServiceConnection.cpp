#include "protocol/CompressedServiceConnection.h"

#include "protocol/GenericServiceConnection.h"
#include "streams/ByteStreams.h"
#include "streams/compression/BlockedQLZ14.h"
#include "streams/compression/BlockedRawDeflate.h"

#include <string>

namespace qxm
{

namespace
{

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

} // namespace

std::unique_ptr<qxmi::internal::IServiceConnectionExW> CreateCompressedServiceConnection(
    qxmi::internal::IServiceConnectionExW& inner, std::wstring_view protocol)
{
    using qpr::BlockedQLZ14Reader;
    using qpr::BlockedQLZ14Writer;
    using qpr::BlockedRawDeflateReader;
    using qpr::BlockedRawDeflateWriter;

    if (protocol == L"BlockedRawDeflate")
        return std::make_unique<CompressedServiceConnection<BlockedRawDeflateWriter, BlockedRawDeflateReader>>(inner);
    if (protocol == L"BlockedQLZ14")
        return std::make_unique<CompressedServiceConnection<BlockedQLZ14Writer, BlockedQLZ14Reader>>(inner);
    return nullptr;
}

} // namespace qxm
