#include "support/ProcessControl.h"

#include "runtime/threads/windows/Handle.h"
#include "support/ChildMain.h"
#include "support/PipedChild.h"

#include <gtest/gtest.h>

extern "C" LONG NTAPI NtSuspendProcess(HANDLE process);
extern "C" LONG NTAPI NtResumeProcess(HANDLE process);

namespace
{

constexpr DWORD comesUpMs = 1000;
constexpr DWORD retryMs = 100;
constexpr int tries = 50;

using ProcessHandle = qpr::SystemHandle<"test::ProcessHandle">;

ProcessHandle Open(DWORD id, DWORD access)
{
    return ProcessHandle(qpr::NativeHandleOf(OpenProcess(access, FALSE, id)));
}

/// What a program that was just started still has to wait until it listens to interrupts; 0 for others.
DWORD TimeToComeUp(HANDLE process)
{
    FILETIME start{};
    FILETIME now{};
    FILETIME unused{};
    GetProcessTimes(process, &start, &unused, &unused, &unused);
    GetSystemTimeAsFileTime(&now);
    const auto ticks = [](const FILETIME& time) {
        return ULARGE_INTEGER{{time.dwLowDateTime, time.dwHighDateTime}}.QuadPart;
    };
    const auto ageMs = (ticks(now) - ticks(start)) / 10'000;
    return ageMs < comesUpMs ? static_cast<DWORD>(comesUpMs - ageMs) : 0;
}

/// Wine knows no break.
bool TryInterrupt(DWORD id)
{
    FreeConsole();
    return AttachConsole(id)
        && (GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, id) || GenerateConsoleCtrlEvent(CTRL_C_EVENT, id));
}

/// An interrupt goes to the programs of the sender's console: a process of its own changes its console for the other's.
/// One that comes before the program listens is lost. A program that ends may have lost its console.
const test::ChildRegistration interrupter("interrupt",
    [](const std::vector<std::string>& arguments)
    {
        const auto id = static_cast<DWORD>(std::stoul(arguments[0]));
        const ProcessHandle process = Open(id, SYNCHRONIZE | PROCESS_QUERY_LIMITED_INFORMATION);
        DWORD waitMs = TimeToComeUp(SystemHandleOf(process));
        for (int count = 0; count < tries && process.IsValid(); ++count, waitMs = retryMs)
        {
            if (WaitForSingleObject(SystemHandleOf(process), waitMs) == WAIT_OBJECT_0 || TryInterrupt(id))
                break;
        }
        return 0;
    });

} // namespace

void test::InterruptProcess(std::uint32_t processId)
{
    PipedChild(StartOfChild("interrupt", {std::to_wstring(processId)})).ExitCode(); // the program's end tells the rest
}

void test::SetStalled(std::uint32_t processId, bool isStalled)
{
    const ProcessHandle process = Open(processId, PROCESS_SUSPEND_RESUME);
    EXPECT_EQ(isStalled ? NtSuspendProcess(SystemHandleOf(process)) : NtResumeProcess(SystemHandleOf(process)), 0);
}

bool test::KillResetsConnections()
{
    return !GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version");
}
