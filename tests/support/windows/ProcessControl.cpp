#include "support/ProcessControl.h"

#include "runtime/windows/Handle.h"
#include "support/ChildMain.h"
#include "support/PipedChild.h"

#include <gtest/gtest.h>

extern "C" LONG NTAPI NtSuspendProcess(HANDLE process);
extern "C" LONG NTAPI NtResumeProcess(HANDLE process);

namespace
{

/// An interrupt goes to the programs of the sender's console: a process of its own changes its console for the other's.
/// Wine knows no break.
const test::ChildRegistration interrupter("interrupt",
    [](const std::vector<std::string>& arguments)
    {
        const auto id = static_cast<DWORD>(std::stoul(arguments[0]));
        FreeConsole();
        return AttachConsole(id)
                && (GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, id) || GenerateConsoleCtrlEvent(CTRL_C_EVENT, id))
            ? 0
            : 1;
    });

} // namespace

void test::InterruptProcess(std::uint32_t processId)
{
    EXPECT_EQ(PipedChild(StartOfChild("interrupt", {std::to_wstring(processId)})).ExitCode(), 0u);
}

void test::SetStalled(std::uint32_t processId, bool isStalled)
{
    const qpr::OwnedHandle process(OpenProcess(PROCESS_SUSPEND_RESUME, FALSE, processId));
    EXPECT_EQ(isStalled ? NtSuspendProcess(process.Value()) : NtResumeProcess(process.Value()), 0);
}

bool test::KillResetsConnections()
{
    return !GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version");
}
