#include "runtime/processes/windows/ProcessSpawn.h"

#include "runtime/text/CommandLineText.h"
#include "runtime/text/Errors.h"

#include <array>
#include <cwchar>
#include <memory>
#include <string>
#include <vector>

// A process is created stopped, put into its group and only then runs, so that nothing it starts escapes from the
// group. It inherits the three handles that its attributes list, and no others.

namespace qpr
{

namespace
{

constexpr const wchar_t* constructor = L"qpr::ChildProcess::ChildProcess";

/// Wine loses one new process in thousands before its program runs, and reports an internal error.
constexpr int maxStartAttempts = 3;

[[noreturn]] void ThrowStartError(const ProcessStart& start, DWORD error)
{
    ThrowSystemErrorWithNumber(L"CreateProcess('" + start.executablePath + L"') failed", constructor, error);
}

/// Names of variables are compared without regard to case.
struct NameLess
{
    bool operator()(const std::wstring& left, const std::wstring& right) const noexcept
    {
        return _wcsicmp(left.c_str(), right.c_str()) < 0;
    }
};

/// The variables in a row, each ended by a zero, and a further zero at the end. Names that begin with "=" are the
/// system's own.
std::wstring MergedEnvironment(const std::map<std::wstring, std::wstring>& changes)
{
    std::map<std::wstring, std::wstring, NameLess> variables;
    wchar_t* const own = GetEnvironmentStringsW();
    for (const wchar_t* entry = own; entry && *entry; entry += std::wcslen(entry) + 1)
    {
        const std::wstring text = entry;
        const std::size_t separator = text.find(L'=', 1);
        if (separator != std::wstring::npos)
            variables[text.substr(0, separator)] = text.substr(separator + 1);
    }
    FreeEnvironmentStringsW(own);
    for (const auto& [name, value] : changes)
    {
        variables.erase(name);
        if (!value.empty())
            variables[name] = value;
    }
    std::wstring block;
    for (const auto& [name, value] : variables)
        block.append(name).append(1, L'=').append(value).append(1, L'\0');
    return block.append(1, L'\0');
}

/// Inheritable duplicates of the handles for the child. A process that the application itself starts at this moment
/// with inherited handles, but without a list of them, gets these too and keeps them open.
class StandardHandles
{
public:
    explicit StandardHandles(const ProcessStart& start)
    {
        const std::array handles = {start.standardInput, start.standardOutput, start.standardError};
        for (std::size_t i = 0; i < handles.size(); ++i)
        {
            HANDLE duplicate = nullptr;
            if (!handles[i].IsValid())
                ThrowStartError(start, ERROR_INVALID_HANDLE);
            if (!DuplicateHandle(GetCurrentProcess(), SystemHandleOf(handles[i]), GetCurrentProcess(), &duplicate, 0,
                    TRUE, DUPLICATE_SAME_ACCESS))
                ThrowStartError(start, GetLastError());
            m_owners[i] = Owner(NativeHandleOf(duplicate));
            m_handles[i] = duplicate;
        }
    }

    HANDLE operator[](std::size_t index) const noexcept { return m_handles[index]; }
    HANDLE* List() noexcept { return m_handles.data(); }
    std::size_t ListSize() const noexcept { return sizeof m_handles; }

private:
    using Owner = SystemHandle<"qpr::ChildProcess::ChildProcess">;

    std::array<Owner, 3> m_owners;
    std::array<HANDLE, 3> m_handles{};
};

/// What a process is started with beyond its command line.
class SpawnAttributes
{
public:
    /// The handles outlive the attributes.
    explicit SpawnAttributes(const ProcessStart& start, StandardHandles& handles)
    {
        SIZE_T size = 0;
        InitializeProcThreadAttributeList(nullptr, 1, 0, &size);
        m_buffer.resize(size);
        if (!InitializeProcThreadAttributeList(Get(), 1, 0, &size))
            ThrowStartError(start, GetLastError());
        if (!UpdateProcThreadAttribute(
                Get(), 0, PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles.List(), handles.ListSize(), nullptr, nullptr))
        {
            const DWORD error = GetLastError();
            DeleteProcThreadAttributeList(Get());
            ThrowStartError(start, error);
        }
    }
    ~SpawnAttributes() { DeleteProcThreadAttributeList(Get()); }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;

    LPPROC_THREAD_ATTRIBUTE_LIST Get() noexcept
    {
        return reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(m_buffer.data());
    }

private:
    std::vector<char> m_buffer;
};

/// A bare name is looked for in the system's directories and on the path.
std::wstring ExecutablePath(const ProcessStart& start)
{
    const std::wstring& path = start.executablePath;
    if (!start.searchPath || path.find_first_of(L"\\/:") != std::wstring::npos)
        return path;
    std::wstring found(32768, L'\0');
    const DWORD length =
        SearchPathW(nullptr, path.c_str(), L".exe", static_cast<DWORD>(found.size()), found.data(), nullptr);
    if (length == 0 || length >= found.size())
        ThrowStartError(start, ERROR_FILE_NOT_FOUND);
    found.resize(length);
    return found;
}

/// The error of a start that failed because of the working directory names the directory.
void ThrowIfNoDirectory(const std::wstring& directory)
{
    const DWORD attributes = GetFileAttributesW(directory.c_str());
    DWORD error = ERROR_SUCCESS;
    if (attributes == INVALID_FILE_ATTRIBUTES)
        error = GetLastError();
    else if ((attributes & FILE_ATTRIBUTE_DIRECTORY) == 0)
        error = ERROR_DIRECTORY;
    if (error != ERROR_SUCCESS)
        ThrowSystemErrorWithNumber(L"SetCurrentDirectory('" + directory + L"') failed", constructor, error);
}

/// Puts a process that was created stopped into the group, where the system allows it, and lets it run.
void Release(const ProcessStart& start, const ProcessGroup& group, HANDLE process, HANDLE thread)
{
    if (group.IsValid())
        AssignProcessToJobObject(SystemHandleOf(group), process);
    if (ResumeThread(thread) != static_cast<DWORD>(-1))
        return;
    const DWORD error = GetLastError();
    TerminateProcess(process, error);
    ThrowStartError(start, error);
}

} // namespace

SpawnedProcess SpawnProcess(const ProcessStart& start, const ProcessGroup& group)
{
    if (start.HasZeroCharacter())
        ThrowStartError(start, ERROR_INVALID_PARAMETER);
    const std::wstring path = ExecutablePath(start);
    if (IsBatchFile(path))
        CheckBatchArguments(path, start.arguments);
    const std::wstring commandLine = CommandLineText(start.arguments);
    std::wstring environment = start.environment.empty() ? std::wstring() : MergedEnvironment(start.environment);

    StandardHandles handles(start);
    SpawnAttributes attributes(start, handles);
    STARTUPINFOEXW startup{};
    startup.StartupInfo.cb = sizeof startup;
    startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
    startup.StartupInfo.hStdInput = handles[0];
    startup.StartupInfo.hStdOutput = handles[1];
    startup.StartupInfo.hStdError = handles[2];
    startup.lpAttributeList = attributes.Get();

    PROCESS_INFORMATION created{};
    const auto create = [&]
    {
        constexpr DWORD flags = EXTENDED_STARTUPINFO_PRESENT | CREATE_UNICODE_ENVIRONMENT | CREATE_NO_WINDOW
            | CREATE_NEW_PROCESS_GROUP | CREATE_SUSPENDED;
        std::wstring text = commandLine; // may be written to
        return CreateProcessW(path.c_str(), text.data(), nullptr, nullptr, TRUE, flags,
            environment.empty() ? nullptr : environment.data(),
            start.workingDirectory.empty() ? nullptr : start.workingDirectory.c_str(), &startup.StartupInfo, &created);
    };
    bool isCreated = create();
    for (int attempt = 1; !isCreated && GetLastError() == ERROR_INTERNAL_ERROR && attempt < maxStartAttempts; ++attempt)
        isCreated = create();
    if (!isCreated)
    {
        const DWORD error = GetLastError();
        if (!start.workingDirectory.empty())
            ThrowIfNoDirectory(start.workingDirectory);
        ThrowStartError(start, error);
    }
    SpawnedProcess spawned{decltype(spawned.process)(NativeHandleOf(created.hProcess)), created.dwProcessId};
    const SystemHandle<"qpr::ChildProcess::ChildProcess"> thread(NativeHandleOf(created.hThread));
    Release(start, group, created.hProcess, created.hThread);
    return spawned;
}

} // namespace qpr
