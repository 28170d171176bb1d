#pragma once

#include "runtime/named/SharedMemorySegment.h"
#include "runtime/text/Utf8.h"
#include "worktable/TestTable.h"
#include "worktable/WorkTable.h"

#include <algorithm>
#include <array>
#include <string>

namespace test
{

/// What servants use at the same time, whoever has started them: counted by the servants themselves.
struct UseCount
{
    unsigned now = 0;
    unsigned most = 0;
};

/// In memory that the test shares with the servants; zero to begin with.
class ServantCounts
{
public:
    explicit ServantCounts(const std::string& name)
        : m_segment(qpr::FromUtf8(name), sizeof(Counts), ForEveryone())
    {
        m_mutex.OpenOrCreate(qpr::FromUtf8(name + "Mutex"), ForEveryone());
    }

    UseCount Of(bool isLocal) const
    {
        Counts counts;
        m_segment.Read(&counts, sizeof counts);
        return counts[isLocal ? 1 : 0];
    }

    void Change(bool isLocal, int by)
    {
        qxm::AcquireTableMutex(m_mutex, qpr::Infinite);
        UseCount count = Of(isLocal);
        count.now += static_cast<unsigned>(by);
        count.most = std::max(count.most, count.now);
        m_segment.Write(isLocal ? sizeof count : 0, &count, sizeof count);
        m_mutex.Release();
    }

private:
    using Counts = std::array<UseCount, 2>;

    qpr::ProcessMutex m_mutex;
    qpr::SharedMemorySegment m_segment;
};

/// Counts a servant while it lives.
class CountedServant
{
public:
    CountedServant(const std::string& name, bool isLocal, unsigned use)
        : m_counts(name)
        , m_isLocal(isLocal)
        , m_use(static_cast<int>(use))
    {
        m_counts.Change(m_isLocal, m_use);
    }
    ~CountedServant() { m_counts.Change(m_isLocal, -m_use); }
    CountedServant(const CountedServant&) = delete;
    CountedServant& operator=(const CountedServant&) = delete;

private:
    ServantCounts m_counts;
    const bool m_isLocal;
    const int m_use;
};

} // namespace test
