#include "runtime/channels/NamedPipe.h"

#include "runtime/text/Errors.h"

#include <utility>

namespace qpr
{

void PipeEnd::Close()
{
    if (!m_handle.Close())
        ThrowSystemError(L"CloseHandle() failed", L"qpr::PipeEnd::Close");
}

IOReader::IOReader(NativeHandle handle, Wait wait)
    : m_handle(handle)
    , m_wait(std::move(wait))
{
}

IOWriter::IOWriter(NativeHandle handle, Wait wait)
    : m_handle(handle)
    , m_wait(std::move(wait))
{
}

} // namespace qpr
