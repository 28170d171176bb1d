#pragma once

#include <qxmi/internal/IServiceConnectionExW.h>

#include <memory>
#include <string_view>

namespace qxm
{

/// A service connection that compresses what goes over another one, in both directions, as a servant's
/// CompressionProtocol says: "BlockedRawDeflate" or "BlockedQLZ14"; none for any other name. The inner connection is
/// not owned and outlives it. The output must be flushed at the end of each request, or its last block stays here.
std::unique_ptr<qxmi::internal::IServiceConnectionExW> CreateCompressedServiceConnection(
    qxmi::internal::IServiceConnectionExW& inner, std::wstring_view protocol);

} // namespace qxm
