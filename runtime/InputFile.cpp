#include "runtime/InputFile.h"

#include "runtime/Errors.h"
#include "runtime/FilePath.h"

namespace qpr
{

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
