#include "runtime/text/TimeFormat.h"

#include <ctime>
#include <iomanip>
#include <locale>
#include <sstream>

namespace qpr
{
namespace
{

/// Like gmtime, of which not every system has a form that is safe with threads.
std::tm CalendarTime(std::chrono::system_clock::time_point moment)
{
    using namespace std::chrono;
    const auto seconds = floor<std::chrono::seconds>(moment);
    const auto day = floor<days>(seconds);
    const year_month_day date(day);
    const hh_mm_ss time(seconds - day);
    const sys_days newYear(date.year() / January / 1);
    std::tm calendar{};
    calendar.tm_year = static_cast<int>(date.year()) - 1900;
    calendar.tm_mon = static_cast<int>(static_cast<unsigned>(date.month())) - 1;
    calendar.tm_mday = static_cast<int>(static_cast<unsigned>(date.day()));
    calendar.tm_hour = static_cast<int>(time.hours().count());
    calendar.tm_min = static_cast<int>(time.minutes().count());
    calendar.tm_sec = static_cast<int>(time.seconds().count());
    calendar.tm_wday = static_cast<int>(weekday(day).c_encoding());
    calendar.tm_yday = static_cast<int>((day - newYear).count());
    return calendar;
}

} // namespace

std::wstring FormatUtcTime(std::chrono::system_clock::time_point moment, const wchar_t* format)
{
    const std::tm calendar = CalendarTime(moment);
    std::wostringstream text;
    text.imbue(std::locale::classic());
    text << std::put_time(&calendar, format);
    return text.str();
}

} // namespace qpr
