#include "support/ProcessActs.h"

#include "runtime/text/windows/SystemHeaders.h"

namespace test
{

const bool canLeaveChildren = false;

void EndBySignal(int signal)
{
    TerminateProcess(GetCurrentProcess(), 128 + static_cast<UINT>(signal));
    for (;;)
        Sleep(INFINITE);
}

void WaitForParentEnd() { }

void LeaveChild(const ChildToLeave&) { }

} // namespace test
