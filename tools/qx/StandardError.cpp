#include "tools/qx/StandardError.h"

#include "runtime/channels/Terminal.h"
#include "runtime/text/PrintableText.h"
#include "runtime/text/Utf8.h"

#include <iostream>
#include <limits>

namespace qx
{

namespace
{

const char eraseLine[] = "\r\x1b[K";
constexpr std::size_t maxErrorLength = 1000; // on a terminal

} // namespace

StandardError::StandardError()
    : m_isTerminal(qpr::IsTerminal(qpr::StandardStream::Error))
    , m_sharesTerminal(m_isTerminal && qpr::IsTerminal(qpr::StandardStream::Output))
{
}

StandardError::~StandardError()
{
    const qpr::ScopedLock lock(m_lock);
    EraseProgress();
}

void StandardError::WriteLog(std::wstring_view piece)
{
    if (piece.empty())
        return;
    const std::string text = qpr::ToUtf8(m_isTerminal ? qpr::PrintableLines(piece) : std::wstring(piece));
    const qpr::ScopedLock lock(m_lock);
    EraseProgress();
    std::cerr << text << std::flush;
    m_isWithinLine = !piece.ends_with(L'\n');
}

void StandardError::WriteQuote(std::wstring_view lines)
{
    if (lines.ends_with(L'\n'))
        lines.remove_suffix(1);
    if (!lines.empty())
        WriteLine(qpr::ToUtf8(qpr::PrintableLines(lines)));
}

void StandardError::WriteLine(std::string_view line)
{
    const qpr::ScopedLock lock(m_lock);
    EraseProgress();
    if (m_isWithinLine)
        std::cerr << '\n';
    std::cerr << line << std::endl;
    m_isWithinLine = false;
}

void StandardError::WriteError(std::string_view text)
{
    const std::size_t maxLength = m_isTerminal ? maxErrorLength : std::numeric_limits<std::size_t>::max();
    WriteLine("qx: " + qpr::ToUtf8(qpr::Printable(qpr::FromUtf8(text), maxLength)));
}

void StandardError::ShowProgress(const std::string& text)
{
    if (!m_isTerminal)
        return;
    const qpr::ScopedLock lock(m_lock);
    std::cerr << eraseLine << text.substr(0, qpr::GetTerminalSize().columns - 1) << std::flush;
    m_showsProgress = true;
}

void StandardError::NoteOutput(std::string_view data)
{
    if (!m_sharesTerminal || data.empty())
        return;
    const qpr::ScopedLock lock(m_lock);
    m_isWithinLine = !data.ends_with('\n');
}

void StandardError::EraseProgress()
{
    if (m_showsProgress)
        std::cerr << eraseLine << std::flush;
    m_showsProgress = false;
}

} // namespace qx
