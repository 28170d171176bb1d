#include "runtime/processes/CurrentProcess.h"

#include "runtime/text/Errors.h"
#include "runtime/text/Utf8.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <utility>

#include <pwd.h>
#include <sys/resource.h>
#include <unistd.h>

namespace qpr::CurrentProcess
{

std::wstring GetExecutablePath()
{
    std::error_code error;
    const std::filesystem::path path = std::filesystem::read_symlink("/proc/self/exe", error);
    if (error)
        ThrowSystemErrorWithNumber(L"GetModuleFileName() failed", L"qpr::CurrentProcess::GetExecutablePath",
            static_cast<std::uint32_t>(error.value()));
    return FromUtf8(path.native());
}

std::uint32_t GetId() noexcept
{
    return static_cast<std::uint32_t>(getpid());
}

std::wstring GetUserName()
{
    std::vector<char> buffer(1024);
    passwd entry{};
    passwd* found = nullptr;
    while (getpwuid_r(geteuid(), &entry, buffer.data(), buffer.size(), &found) == ERANGE)
        buffer.resize(buffer.size() * 2);
    return found ? FromUtf8(found->pw_name) : std::to_wstring(geteuid());
}

std::size_t RaiseDescriptorLimit() noexcept
{
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    const rlim_t before = std::exchange(limit.rlim_cur, limit.rlim_max);
    return static_cast<std::size_t>(setrlimit(RLIMIT_NOFILE, &limit) == 0 ? limit.rlim_cur : before);
}

} // namespace qpr::CurrentProcess

namespace qpr
{

std::optional<std::wstring> EnvironmentVariable(std::wstring_view name)
{
    const char* const value = std::getenv(ToUtf8(name).c_str());
    if (!value)
        return std::nullopt;
    return FromUtf8(value);
}

std::vector<std::string> ProgramArguments(int argc, char** argv)
{
    return std::vector<std::string>(argv, argv + argc);
}

void ResetInheritedSignals() noexcept
{
    std::signal(SIGCHLD, SIG_DFL);
}

bool IsProcessRunning(std::uint32_t id) noexcept
{
    const auto pid = static_cast<pid_t>(id);
    return pid > 0 && (kill(pid, 0) == 0 || errno == EPERM);
}

} // namespace qpr
