#include "client/OpenHandles.h"

#include "runtime/text/windows/SystemHeaders.h"

std::ptrdiff_t test::CountOpenHandles()
{
    DWORD count = 0;
    return GetProcessHandleCount(GetCurrentProcess(), &count) ? static_cast<std::ptrdiff_t>(count) : 0;
}
