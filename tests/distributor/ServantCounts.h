#pragma once

#include "runtime/Utf8.h"
#include "worktable/SharedMemorySegment.h"
#include "worktable/TestTable.h"

#include <algorithm>
#include <atomic>
#include <string>

namespace test
{

/// What servants use at the same time, whoever has started them: counted by the servants themselves.
struct UseCount
{
    std::atomic<unsigned> now;
    std::atomic<unsigned> most;
};

/// In memory that the test shares with the servants; zero to begin with.
struct ServantCounts
{
    explicit ServantCounts(const std::string& name)
        : segment(qpr::FromUtf8(name), 2 * sizeof(UseCount), ForEveryone())
    {
    }

    UseCount& Of(bool isLocal) { return static_cast<UseCount*>(segment.Address())[isLocal ? 1 : 0]; }

    qpr::SharedMemorySegment segment;
};

/// Counts a servant while it lives.
class CountedServant
{
public:
    CountedServant(const std::string& name, bool isLocal, unsigned use)
        : m_counts(name)
        , m_count(m_counts.Of(isLocal))
        , m_use(use)
    {
        const unsigned now = m_count.now += m_use;
        for (unsigned most = m_count.most; now > most && !m_count.most.compare_exchange_weak(most, now);)
        {
        }
    }
    ~CountedServant() { m_count.now -= m_use; }
    CountedServant(const CountedServant&) = delete;
    CountedServant& operator=(const CountedServant&) = delete;

private:
    ServantCounts m_counts;
    UseCount& m_count;
    const unsigned m_use;
};

} // namespace test
