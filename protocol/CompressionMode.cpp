#include "protocol/CompressionMode.h"

#include "runtime/text/Errors.h"

namespace qxm
{

const wchar_t* CompressionModeName(CompressionMode mode) noexcept
{
    switch (mode)
    {
    case CompressionMode::None:
        return L"none";
    case CompressionMode::Zlib:
        return L"zlib";
    case CompressionMode::Qlz14:
        return L"qlz14";
    }
    return L"???";
}

CompressionMode ParseCompressionMode(const std::wstring& text)
{
    if (text.empty())
        return CompressionMode::None;
    for (const CompressionMode mode : {CompressionMode::None, CompressionMode::Zlib, CompressionMode::Qlz14})
    {
        if (text == CompressionModeName(mode))
            return mode;
    }
    throw qpr::RuntimeError(L"Invalid compression mode string '" + text + L"'");
}

} // namespace qxm
