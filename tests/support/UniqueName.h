#pragma once

#include "runtime/named/SecurityDescriptor.h"
#include "runtime/processes/CurrentProcess.h"
#include "runtime/text/Utf8.h"

#include <atomic>
#include <filesystem>
#include <string>
#include <vector>

namespace test
{

/// A name that no other test has; what was made under it goes with it.
class UniqueName
{
public:
    UniqueName()
    {
        static std::atomic<int> counter = 0;
        m_text = "QxTest" + std::to_string(qpr::CurrentProcess::GetId()) + "x" + std::to_string(++counter) + "x";
    }

    ~UniqueName()
    {
        for (const std::filesystem::path& path : Files())
            std::filesystem::remove(path);
    }

    UniqueName(const UniqueName&) = delete;
    UniqueName& operator=(const UniqueName&) = delete;

    std::wstring Text() const { return {m_text.begin(), m_text.end()}; }
    std::wstring Local() const { return L"Local\\" + Text(); }

    /// Where the system keeps named objects as files.
    std::vector<std::filesystem::path> Files() const
    {
        std::vector<std::filesystem::path> files;
        std::error_code noSuchFolder;
        for (const auto& entry : std::filesystem::directory_iterator("/dev/shm", noSuchFolder))
        {
            if (entry.path().filename().string().find(m_text) != std::string::npos)
                files.push_back(entry.path());
        }
        return files;
    }

private:
    std::string m_text;
};

/// Security of the objects that the tests share.
inline const qpr::SecurityDescriptor& ForEveryone()
{
    static const struct Security : qpr::SecurityDescriptor
    {
        Security() { GrantAllAccess(); }
    } security;
    return security;
}

} // namespace test
