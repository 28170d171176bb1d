#include "runtime/posix/ProcessGroup.h"

#include "runtime/posix/ProcessStatus.h"

#include <cstdlib>
#include <dirent.h>
#include <memory>
#include <unistd.h>

namespace qpr
{

namespace
{

struct DirectoryCloser
{
    void operator()(DIR* directory) const noexcept { closedir(directory); }
};

} // namespace

// The leader itself counts as a member for every question that one can ask of the group as such, so its members are
// looked for one by one.
bool HasRunningMembers(pid_t group) noexcept
{
    const std::unique_ptr<DIR, DirectoryCloser> processes(opendir("/proc"));
    if (!processes)
        return true;
    while (const dirent* entry = readdir(processes.get()))
    {
        const auto process = static_cast<pid_t>(std::atol(entry->d_name));
        if (process > 0 && process != group && getpgid(process) == group && IsRunning(process))
            return true;
    }
    return false;
}

} // namespace qpr
