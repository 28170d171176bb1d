#include "runtime/channels/FilePath.h"

#include "runtime/text/Errors.h"
#include "runtime/text/Utf8.h"

namespace qpr
{

namespace
{

constexpr wchar_t nativeSeparator = static_cast<wchar_t>(std::filesystem::path::preferred_separator);

bool IsSeparator(wchar_t character) noexcept
{
    return character == L'/' || character == L'\\';
}

std::wstring ToText(const std::filesystem::path& path)
{
    const std::u8string utf8 = path.u8string();
    return FromUtf8({reinterpret_cast<const char*>(utf8.data()), utf8.size()});
}

} // namespace

bool IsAbsolutePath(std::wstring_view path) noexcept
{
    const auto isRoot = [](wchar_t character) { return character == L'\\' || character == nativeSeparator; };
    const bool beginsWithDrive = path.size() >= 3 && path[1] == L':' && isRoot(path[2]);
    return beginsWithDrive || (!path.empty() && isRoot(path[0]));
}

std::wstring WithNativeSeparators(std::wstring_view path)
{
    std::wstring native(path);
    for (wchar_t& character : native)
    {
        if (IsSeparator(character))
            character = nativeSeparator;
    }
    return native;
}

std::wstring JoinPath(std::wstring_view directory, std::wstring_view name)
{
    return std::wstring(directory) + nativeSeparator + std::wstring(name);
}

std::wstring DirectoryOf(std::wstring_view path)
{
    const std::size_t separator = path.rfind(nativeSeparator);
    return std::wstring(path.substr(0, separator == std::wstring_view::npos ? 0 : separator));
}

std::wstring FullPath(std::wstring_view path)
{
    auto full = std::filesystem::absolute(ToFilesystemPath(path)).lexically_normal();
    return ToText(full.make_preferred());
}

std::filesystem::path ToFilesystemPath(std::wstring_view path)
{
    const std::string utf8 = ToUtf8(path);
    return std::filesystem::path(std::u8string(utf8.begin(), utf8.end()));
}

std::filesystem::path PathOfArgument(const std::string& argument)
{
    if constexpr (sizeof(std::filesystem::path::value_type) == 1)
        return std::filesystem::path(argument);
    else
        return ToFilesystemPath(FromUtf8(argument));
}

std::ifstream OpenInputFile(const std::wstring& path)
{
    const auto fail = [&path](std::uint32_t error)
    { ThrowSystemErrorWithNumber(L"CreateFile('" + path + L"') failed", L"qpr::File::Open", error); };

    const std::filesystem::path native = ToFilesystemPath(path);
    std::ifstream file(native, std::ios::binary);
    if (!file)
        fail(LastSystemError());
    // Some systems open a directory like a file and fail only when it is read.
    std::error_code ignored;
    if (std::filesystem::is_directory(native, ignored))
        fail(static_cast<std::uint32_t>(std::errc::is_a_directory));
    return file;
}

} // namespace qpr
