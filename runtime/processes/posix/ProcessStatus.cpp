#include "runtime/processes/posix/ProcessStatus.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>

namespace qpr
{

namespace
{

struct FileCloser
{
    void operator()(FILE* file) const noexcept { std::fclose(file); }
};

using Line = char[256];

/// The value of the line "<key>:<value>" of the process's status; null when there is none.
const char* FindStatusValue(pid_t process, std::string_view key, Line& line) noexcept
{
    char path[64];
    std::snprintf(path, sizeof path, "/proc/%ld/status", static_cast<long>(process));
    const std::unique_ptr<FILE, FileCloser> file(std::fopen(path, "re"));
    while (file && std::fgets(line, sizeof line, file.get()))
    {
        if (std::string_view(line).starts_with(key) && line[key.size()] == ':')
            return line + key.size() + 1 + std::strspn(line + key.size() + 1, " \t");
    }
    return nullptr;
}

} // namespace

bool IsRunning(pid_t process) noexcept
{
    Line line;
    const char* const state = FindStatusValue(process, "State", line);
    return state && *state != 'Z' && *state != 'X';
}

long PeakResidentKB(pid_t process) noexcept
{
    Line line;
    const char* const peak = FindStatusValue(process, "VmHWM", line);
    return peak ? std::atol(peak) : 0;
}

} // namespace qpr
