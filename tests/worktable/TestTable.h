#pragma once

#include "runtime/text/Utf8.h"
#include "runtime/threads/ThreadEvent.h"
#include "support/ErrorOf.h"
#include "support/UniqueName.h"
#include "worktable/RowInWorkTable.h"
#include "worktable/WorkTable.h"

#include <atomic>
#include <cstdint>

namespace test
{

using Row = qxm::WorkTable::JobManager::RowInWorkTable;

/// Of a table with this name.
inline qxm::WorkTableOptions OptionsOf(const UniqueName& name)
{
    qxm::WorkTableOptions options;
    options.baseName = name.Text();
    return options;
}

/// A table of the test's own, at a time of its own, whose heart beats when told to.
class TestTable
{
public:
    qxm::WorkTableOptions Options()
    {
        qxm::WorkTableOptions options = OptionsOf(name);
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

} // namespace test
