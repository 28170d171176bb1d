#include "tools/qx/BatchCounts.h"

#include "tools/qx/Table.h"

#include <cmath>
#include <cstdio>

namespace qx
{

namespace
{

constexpr unsigned barWidth = 24;

std::string DoneAndFailed(const BatchCounts& counts)
{
    return std::to_string(counts.done) + " done, " + std::to_string(counts.failed) + " failed, ";
}

double RateOf(const BatchCounts& counts, double elapsedSeconds)
{
    return elapsedSeconds > 0 ? static_cast<double>(counts.done + counts.failed) / elapsedSeconds : 0;
}

/// "1:02:03", "2:03".
std::string FormatClock(double seconds)
{
    const auto whole = static_cast<unsigned long long>(std::ceil(seconds));
    char text[64];
    if (whole >= 3600)
        std::snprintf(text, sizeof(text), "%llu:%02llu:%02llu", whole / 3600, whole / 60 % 60, whole % 60);
    else
        std::snprintf(text, sizeof(text), "%llu:%02llu", whole / 60, whole % 60);
    return text;
}

} // namespace

std::string DescribeProgress(const BatchCounts& counts, double elapsedSeconds)
{
    const double fraction =
        counts.total > 0 ? static_cast<double>(counts.Ended()) / static_cast<double>(counts.total) : 1;
    std::string text = Bar(fraction, barWidth) + ' ' + DoneAndFailed(counts) + std::to_string(counts.Running())
        + " running, " + std::to_string(counts.Pending()) + " pending";
    const double rate = RateOf(counts, elapsedSeconds);
    if (rate > 0)
    {
        const auto left = static_cast<double>(counts.total - counts.Ended());
        text += ", " + FormatNumber(rate, 1) + "/s, " + FormatClock(left / rate) + " left";
    }
    return text;
}

std::string DescribeSummary(const BatchCounts& counts, double elapsedSeconds)
{
    std::string text = DoneAndFailed(counts);
    if (counts.interrupted > 0)
        text += std::to_string(counts.interrupted) + " interrupted, ";
    if (counts.skipped > 0)
        text += std::to_string(counts.skipped) + " skipped, ";
    return text + FormatNumber(elapsedSeconds, 1) + " s, " + FormatNumber(RateOf(counts, elapsedSeconds), 1)
        + " calls/s";
}

} // namespace qx
