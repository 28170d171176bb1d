#include "runtime/channels/windows/OverlappedOperation.h"

#include "runtime/text/Panic.h"

namespace qpr
{

OverlappedOperation::OverlappedOperation(std::optional<ThreadEvent>& ended)
    : m_ended(ended ? *ended : ended.emplace(ThreadEvent::Kind_ManualReset))
{
}

OVERLAPPED* OverlappedOperation::Begin() noexcept
{
    m_record = {};
    m_record.hEvent = SystemHandleOf(m_ended.Object().Handle());
    return &m_record;
}

void OverlappedOperation::WaitForEnd(HANDLE handle, const std::function<void()>& wait, const char* function, int line)
{
    try
    {
        wait();
    }
    catch (...)
    {
        if (!CancelIo(handle))
            Panic("CancelIo(m_handle)", function, line);
        // Until the operation has ended, the system may still write to the buffer and to the record.
        DWORD count = 0;
        GetOverlappedResult(handle, &m_record, &count, TRUE);
        throw;
    }
}

bool OverlappedOperation::TakeResult(HANDLE handle, DWORD& count) noexcept
{
    return GetOverlappedResult(handle, &m_record, &count, FALSE) != FALSE;
}

} // namespace qpr
