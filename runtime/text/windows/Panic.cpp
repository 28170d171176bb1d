#include "runtime/text/Panic.h"

#include "runtime/text/windows/SystemHeaders.h"

namespace qpr
{

void FailFast() noexcept
{
    SetErrorMode(GetErrorMode() | SEM_NOGPFAULTERRORBOX);
    RaiseFailFastException(nullptr, nullptr, 0);
    TerminateProcess(GetCurrentProcess(), STATUS_FATAL_APP_EXIT);
    __builtin_unreachable();
}

} // namespace qpr
