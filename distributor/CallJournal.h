#pragma once

#include "runtime/IWriter.h"
#include "runtime/Mutex.h"

#include <string>

namespace qxd
{

/// What the distributor tells the person who started it: a line for each event. Any thread may write; a line that
/// cannot be written is lost.
class CallJournal
{
public:
    /// Not owned; outlives the journal.
    explicit CallJournal(qpr::IWriter& output)
        : m_output(output)
    {
    }

    void WriteLine(const std::wstring& line) noexcept;

private:
    qpr::Mutex m_lock;
    qpr::IWriter& m_output QX_GUARDED_BY(m_lock); // not owned
};

} // namespace qxd
