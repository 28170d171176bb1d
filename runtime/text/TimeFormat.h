#pragma once

#include <chrono>
#include <string>

namespace qpr
{

/// A moment as UTC text, by default "2026-02-28 23:59:59". The format is strftime's; month and day names are English.
std::wstring FormatUtcTime(std::chrono::system_clock::time_point moment, const wchar_t* format = L"%Y-%m-%d %H:%M:%S");

} // namespace qpr
