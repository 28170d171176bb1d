#include "protocol/CompressionMode.h"

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

} // namespace qxm
