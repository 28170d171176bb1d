#include "protocol/CompressedServiceConnection.h"

namespace qxm
{

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
