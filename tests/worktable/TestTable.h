#pragma once

#include "runtime/CurrentProcess.h"
#include "runtime/ThreadEvent.h"
#include "runtime/Utf8.h"
#include "support/ErrorOf.h"
#include "worktable/RowInWorkTable.h"
#include "worktable/WorkTable.h"

#include <atomic>
#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

namespace test
{

using Row = qxm::WorkTable::JobManager::RowInWorkTable;

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

    /// Of a table with this name.
    qxm::WorkTableOptions Options() const
    {
        qxm::WorkTableOptions options;
        options.baseName = Text();
        return options;
    }

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

/// A table of the test's own, at a time of its own, whose heart beats when told to.
class TestTable
{
public:
    qxm::WorkTableOptions Options()
    {
        qxm::WorkTableOptions options = name.Options();
        options.heartbeatMs = qpr::Infinite;
        options.clock = [this] { return now.load(); };
        return options;
    }

    UniqueName name;
    std::atomic<std::int64_t> now = 1'000'000;
    qxm::WorkTable table{qxm::WorkTable::ScopeMode_PreferExistingGlobal, Options()};
};

inline qxm::Work Sum(qxm::WorkTable& table, Row& row)
{
    qxm::WorkTable::Lock lock(table);
    return row.SumActiveWork(lock);
}

inline bool Publish(qxm::WorkTable& table, Row& row, const qxm::WorkRecord& record)
{
    qxm::WorkTable::Lock lock(table);
    return row.Publish(lock, record);
}

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
