#include "runtime/processes/posix/ProcessSpawn.h"

#include "runtime/text/Errors.h"
#include "runtime/text/Utf8.h"
#include "runtime/threads/posix/Descriptor.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <new>
#include <spawn.h>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

// By posix_spawn: a fork would copy the page tables of this process, and could not run much between that and the
// program's start while other threads hold locks.

namespace qpr
{

namespace
{

constexpr const wchar_t* constructor = L"qpr::ChildProcess::ChildProcess";

[[noreturn]] void ThrowStartError(const ProcessStart& start, int error)
{
    ThrowSystemErrorWithNumber(
        L"CreateProcess('" + start.executablePath + L"') failed", constructor, static_cast<std::uint32_t>(error));
}

/// Owns texts that a program is started with, which takes an array of pointers to them.
class TextBlock
{
public:
    void Add(std::string text) { m_texts.push_back(std::move(text)); }

    char** Pointers()
    {
        m_pointers.clear();
        for (std::string& text : m_texts)
            m_pointers.push_back(text.data());
        m_pointers.push_back(nullptr);
        return m_pointers.data();
    }

private:
    std::vector<std::string> m_texts;
    std::vector<char*> m_pointers;
};

TextBlock MergedEnvironment(const std::map<std::wstring, std::wstring>& changes)
{
    TextBlock block;
    for (char** entry = environ; entry && *entry; ++entry)
    {
        const std::string_view text = *entry;
        if (!changes.contains(FromUtf8(text.substr(0, text.find('=')))))
            block.Add(std::string(text));
    }
    for (const auto& [name, value] : changes)
    {
        if (!value.empty())
            block.Add(ToUtf8(name).append("=").append(ToUtf8(value)));
    }
    return block;
}

/// The handles for the child, under numbers above those that they are put on.
class StandardHandles
{
public:
    explicit StandardHandles(const ProcessStart& start)
    {
        const std::array handles = {start.standardInput, start.standardOutput, start.standardError};
        for (std::size_t i = 0; i < handles.size(); ++i)
        {
            m_descriptors[i] = DescriptorOf(handles[i]);
            if (m_descriptors[i] > STDERR_FILENO)
                continue;
            m_descriptors[i] = fcntl(m_descriptors[i], F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
            if (m_descriptors[i] < 0)
                ThrowStartError(start, errno);
            m_duplicates[i] = Owner(HandleOf(m_descriptors[i]));
        }
    }

    int operator[](std::size_t index) const noexcept { return m_descriptors[index]; }

private:
    using Owner = SystemHandle<"qpr::ChildProcess::ChildProcess">;

    std::array<int, 3> m_descriptors{};
    std::array<Owner, 3> m_duplicates;
};

/// For the result of functions that fail only for lack of memory.
void CheckAllocation(int error)
{
    if (error != 0)
        throw std::bad_alloc();
}

class SpawnAttributes
{
public:
    SpawnAttributes()
    {
        sigset_t none, all;
        sigemptyset(&none);
        sigfillset(&all);
        CheckAllocation(posix_spawnattr_init(&m_attributes));
        posix_spawnattr_setpgroup(&m_attributes, 0);
        posix_spawnattr_setsigmask(&m_attributes, &none);
        posix_spawnattr_setsigdefault(&m_attributes, &all);
        posix_spawnattr_setflags(&m_attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    ~SpawnAttributes() { posix_spawnattr_destroy(&m_attributes); }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;

    const posix_spawnattr_t* Get() const noexcept { return &m_attributes; }

private:
    posix_spawnattr_t m_attributes;
};

/// What the child does before it becomes the program.
class SpawnActions
{
public:
    SpawnActions() { CheckAllocation(posix_spawn_file_actions_init(&m_actions)); }
    ~SpawnActions() { posix_spawn_file_actions_destroy(&m_actions); }
    SpawnActions(const SpawnActions&) = delete;
    SpawnActions& operator=(const SpawnActions&) = delete;

    void SetStandardHandles(const StandardHandles& handles)
    {
        for (int number = STDIN_FILENO; number <= STDERR_FILENO; ++number)
        {
            CheckAllocation(
                posix_spawn_file_actions_adddup2(&m_actions, handles[static_cast<std::size_t>(number)], number));
        }
        CheckAllocation(posix_spawn_file_actions_addclosefrom_np(&m_actions, STDERR_FILENO + 1));
    }

    void SetWorkingDirectory(const std::string& directory)
    {
        CheckAllocation(posix_spawn_file_actions_addchdir_np(&m_actions, directory.c_str()));
    }

    const posix_spawn_file_actions_t* Get() const noexcept { return &m_actions; }

private:
    posix_spawn_file_actions_t m_actions;
};

/// Absolute when the child gets another working directory: a relative path is relative to this process's own.
std::string ExecutablePath(const ProcessStart& start)
{
    std::string path = ToUtf8(start.executablePath);
    const bool isSearched = start.searchPath && path.find('/') == std::string::npos;
    if (path.empty() || isSearched || start.workingDirectory.empty())
        return path;
    return std::filesystem::absolute(path).native();
}

/// The error of a start that failed because of the working directory names the directory.
void ThrowIfNoDirectory(const std::wstring& directory)
{
    struct stat status = {};
    const std::string path = ToUtf8(directory);
    int error = 0;
    if (stat(path.c_str(), &status) != 0 || (S_ISDIR(status.st_mode) && access(path.c_str(), X_OK) != 0))
        error = errno;
    else if (!S_ISDIR(status.st_mode))
        error = ENOTDIR;
    if (error != 0)
    {
        ThrowSystemErrorWithNumber(
            L"SetCurrentDirectory('" + directory + L"') failed", constructor, static_cast<std::uint32_t>(error));
    }
}

} // namespace

pid_t SpawnProcess(const ProcessStart& start)
{
    if (start.HasZeroCharacter())
        ThrowStartError(start, EINVAL);
    const std::string path = ExecutablePath(start);
    TextBlock arguments;
    for (const std::wstring& argument : start.arguments)
        arguments.Add(ToUtf8(argument));
    TextBlock environment;
    if (!start.environment.empty())
        environment = MergedEnvironment(start.environment);

    const StandardHandles handles(start);
    const SpawnAttributes attributes;
    SpawnActions actions;
    actions.SetStandardHandles(handles);
    if (!start.workingDirectory.empty())
        actions.SetWorkingDirectory(ToUtf8(start.workingDirectory));

    pid_t processId = 0;
    const auto spawn = start.searchPath ? posix_spawnp : posix_spawn;
    const int error = spawn(&processId, path.c_str(), actions.Get(), attributes.Get(), arguments.Pointers(),
        start.environment.empty() ? environ : environment.Pointers());
    if (error != 0)
    {
        if (!start.workingDirectory.empty())
            ThrowIfNoDirectory(start.workingDirectory);
        ThrowStartError(start, error);
    }
    return processId;
}

} // namespace qpr
