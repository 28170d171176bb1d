#pragma once

#include <cstdint>
#include <string>

namespace qxm
{

/// How a service's data is to be compressed, as configurations and command lines name it.
enum class CompressionMode : std::uint32_t
{
    None = 0, ///< "none"
    Zlib = 1, ///< "zlib"
    Qlz14 = 2, ///< "qlz14"
};

/// The name to show; "???" for a value outside the enumeration.
const wchar_t* CompressionModeName(CompressionMode mode) noexcept;

/// The mode of that name, none for an empty text. Throws "Invalid compression mode string '<text>'".
CompressionMode ParseCompressionMode(const std::wstring& text);

} // namespace qxm
