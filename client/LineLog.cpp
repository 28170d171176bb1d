#include "client/LineLog.h"

#include <string_view>

namespace QxClient
{

namespace
{

constexpr std::size_t maxLineLength = 65536;

}

void LineLog::Write(const wchar_t* text, std::size_t length)
{
    for (const wchar_t character : std::wstring_view(text, length))
    {
        if (character == L'\n' || m_line.size() == maxLineLength)
            PassOn();
        if (character != L'\n')
            m_line += character;
    }
}

void LineLog::Finish()
{
    if (!m_line.empty())
        PassOn();
}

void LineLog::PassOn()
{
    if (!m_line.empty() && m_line.back() == L'\r')
        m_line.pop_back();
    try
    {
        m_request.WriteLogLine(m_line.data(), m_line.size());
    }
    catch (...) // the application's own failure to keep its log
    {
    }
    m_line.clear();
}

} // namespace QxClient
