#include "runtime/processes/ProcessFigures.h"

#include <gtest/gtest.h>

#include <sstream>

using namespace std::chrono_literals;

TEST(ProcessFigures, AreWrittenALineEach)
{
    qpr::ProcessFigures figures;
    figures.processId = 4711;
    figures.startTime = std::chrono::sys_days(std::chrono::year(2026) / 2 / 28) + 23h + 59min + 58s;
    figures.endTime = figures.startTime + 2500ms;
    figures.kernelTime = 250ms;
    figures.userTime = 3500ms;
    figures.pageFaultCount = 1234567;
    figures.peakWorkingSetSizeMB = 1536.5;
    std::wostringstream text;
    qpr::WriteProcessFigures(text, L"Servant", figures);
    EXPECT_EQ(text.str(),
        L"Servant.ProcessId=4711\r\n"
        L"Servant.StartTime=2026-02-28 23:59:58\r\n"
        L"Servant.KernelTimeUsed=0.250\r\n"
        L"Servant.UserTimeUsed=3.500\r\n"
        L"Servant.ProcessorTimeUsed=3.750\r\n"
        L"Servant.EndTime=2026-03-01 00:00:00\r\n"
        L"Servant.Duration=2.500\r\n"
        L"Servant.ProcessorUsage=1.500\r\n"
        L"Servant.PageFaultCount=1234567\r\n"
        L"Servant.PeakWorkingSetSizeInMB=1536.500\r\n"
        L"Servant.PeakPagedPoolUsageInMB=0.000\r\n"
        L"Servant.PeakNonPagedPoolUsageInMB=0.000\r\n"
        L"Servant.PeakPageFileUsageInMB=0.000\r\n");

    std::wostringstream endNotSeen;
    qpr::WriteProcessFigures(endNotSeen, L"Servant", {});
    EXPECT_NE(endNotSeen.str().find(L"\r\nServant.ProcessorUsage=0.000\r\n"), std::wstring::npos);
}
