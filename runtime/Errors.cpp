#include "runtime/Errors.h"

#include "runtime/Utf8.h"

namespace qpr
{

RuntimeError::RuntimeError(std::wstring_view text) : std::runtime_error(ToUtf8(text)) { }

std::wstring ErrorText(const std::exception& error)
{
    return FromUtf8(error.what());
}

}
