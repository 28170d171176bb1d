#pragma once

#include "runtime/threads/Mutex.h"

#include <string>
#include <string_view>

namespace qx
{

/// The standard error stream, which logs, errors and a progress line share: an error always begins a line, and the
/// progress line makes way for both. On a terminal everything is shown in printable form; a file or pipe gets logs as
/// they are. Any thread may use it.
class StandardError
{
public:
    StandardError();
    ~StandardError();
    StandardError(const StandardError&) = delete;
    StandardError& operator=(const StandardError&) = delete;

    bool IsTerminal() const noexcept { return m_isTerminal; }

    /// A piece of a call's log; it may begin and end within a line.
    void WriteLog(std::wstring_view piece);

    /// Lines of a log in the report of an error: printable everywhere.
    void WriteQuote(std::wstring_view lines);

    /// A line of its own, without its line end.
    void WriteLine(std::string_view line);

    /// "qx: <text>" as a line. A terminal gets it cut to a length that people read.
    void WriteError(std::string_view text);

    /// Replaces the line at the bottom of the terminal; what does not fit is cut. Nothing where there is no terminal.
    void ShowProgress(const std::string& text);

    /// Tells of data on the standard output, which may leave the cursor of a terminal that both share within a line.
    void NoteOutput(std::string_view data);

private:
    void EraseProgress() QX_REQUIRES(m_lock);

    const bool m_isTerminal;
    const bool m_sharesTerminal; // with the standard output
    qpr::Mutex m_lock;
    bool m_isWithinLine QX_GUARDED_BY(m_lock) = false;
    bool m_showsProgress QX_GUARDED_BY(m_lock) = false;
};

} // namespace qx
