#pragma once

#include "runtime/processes/CurrentProcess.h"
#include "runtime/text/Utf8.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <string>

namespace test
{

/// A directory of its own for one test, with absolute normal paths.
class TemporaryDirectory
{
public:
    TemporaryDirectory()
        : m_path(std::filesystem::temp_directory_path()
            / ("qxtest-" + std::to_string(qpr::CurrentProcess::GetId()) + "-" + std::to_string(NextNumber())))
    {
        std::filesystem::create_directories(m_path);
    }
    ~TemporaryDirectory() { std::filesystem::remove_all(m_path); }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    const std::filesystem::path& Path() const { return m_path; }

    /// The path of a file below, as the library writes it.
    std::wstring PathOf(const char* name) const { return qpr::FromUtf8((m_path / name).make_preferred().string()); }

    /// Writes a file and returns its path.
    std::wstring Write(const char* name, const std::string& content) const
    {
        std::filesystem::create_directories((m_path / name).parent_path());
        std::ofstream(m_path / name, std::ios::binary) << content;
        return PathOf(name);
    }

private:
    static int NextNumber()
    {
        static std::atomic<int> number = 0;
        return ++number;
    }

    std::filesystem::path m_path;
};

} // namespace test
