#pragma once

#include "runtime/channels/IWriter.h"
#include "runtime/threads/IRunnable.h"
#include "runtime/threads/Mutex.h"
#include "runtime/threads/Thread.h"
#include "runtime/threads/ThreadEvent.h"

#include <cstddef>
#include <deque>
#include <optional>
#include <string>

namespace qxd
{

/// What the distributor tells the person who started it: one line per event. Any thread may write; a thread of the
/// journal's own passes the lines on, so that no call waits for an output that nobody reads. The journal keeps a
/// bounded number of lines for such an output: further ones are lost, and a later line tells how many. A line that
/// cannot be written is lost too.
class CallJournal final : private qpr::IRunnable
{
public:
    static constexpr std::size_t maxLinesKept = 1000;

    /// Not owned; outlives the journal.
    explicit CallJournal(qpr::IWriter& output);

    /// What is left has a second to be written.
    ~CallJournal() override;

    /// In printable form, cut at a few hundred characters: much of it is what clients say.
    void WriteLine(const std::wstring& line) noexcept;

private:
    void Run() override;
    void HandleError(const std::exception&) override { }

    void Keep(std::string line) QX_REQUIRES(m_lock);
    std::optional<std::string> TakeLine();

    qpr::IWriter& m_output; // not owned
    qpr::Mutex m_lock;
    std::deque<std::string> m_lines QX_GUARDED_BY(m_lock);
    std::size_t m_lostCount QX_GUARDED_BY(m_lock) = 0;
    qpr::ThreadEvent m_hasLines{qpr::ThreadEvent::Kind_AutoReset};
    qpr::ThreadEvent m_isEnding{qpr::ThreadEvent::Kind_ManualReset};
    qpr::Thread m_thread; // last: starts when the rest is there, interrupted and joined first
};

} // namespace qxd
