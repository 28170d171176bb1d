#include "runtime/processes/ProcessFigures.h"

#include "runtime/text/TimeFormat.h"

#include <iomanip>
#include <locale>
#include <sstream>
#include <string>

namespace qpr
{

namespace
{

using Seconds = std::chrono::duration<double>;

std::wstring WithThreeDigits(double number)
{
    std::wostringstream text;
    text.imbue(std::locale::classic());
    text << std::fixed << std::setprecision(3) << number;
    return text.str();
}

} // namespace

void WriteProcessFigures(std::wostream& stream, std::wstring_view prefix, const ProcessFigures& figures)
{
    const auto writeLine = [&](const wchar_t* key, const std::wstring& value)
    { stream << prefix << L'.' << key << L'=' << value << L"\r\n"; };
    const auto writeSeconds = [&](const wchar_t* key, Seconds time) { writeLine(key, WithThreeDigits(time.count())); };

    const Seconds processorTime = figures.kernelTime + figures.userTime;
    const Seconds duration = figures.endTime - figures.startTime;
    writeLine(L"ProcessId", std::to_wstring(figures.processId));
    writeLine(L"StartTime", FormatUtcTime(figures.startTime));
    writeSeconds(L"KernelTimeUsed", figures.kernelTime);
    writeSeconds(L"UserTimeUsed", figures.userTime);
    writeSeconds(L"ProcessorTimeUsed", processorTime);
    writeLine(L"EndTime", FormatUtcTime(figures.endTime));
    writeSeconds(L"Duration", duration);
    writeLine(L"ProcessorUsage", WithThreeDigits(duration.count() > 0 ? processorTime / duration : 0));
    writeLine(L"PageFaultCount", std::to_wstring(figures.pageFaultCount));
    writeLine(L"PeakWorkingSetSizeInMB", WithThreeDigits(figures.peakWorkingSetSizeMB));
    writeLine(L"PeakPagedPoolUsageInMB", WithThreeDigits(figures.peakPagedPoolUsageMB));
    writeLine(L"PeakNonPagedPoolUsageInMB", WithThreeDigits(figures.peakNonPagedPoolUsageMB));
    writeLine(L"PeakPageFileUsageInMB", WithThreeDigits(figures.peakPageFileUsageMB));
}

} // namespace qpr
