#include "tools/qx/ProgressLine.h"

#include "runtime/Terminal.h"

#include <iostream>

namespace qx
{

namespace
{

const char eraseLine[] = "\r\x1b[K";

}

ProgressLine::ProgressLine()
    : m_isTerminal(qpr::IsTerminal(qpr::StandardStream::Error))
{
}

void ProgressLine::Show(const std::string& text)
{
    if (!m_isTerminal)
        return;
    std::cerr << eraseLine << text.substr(0, qpr::GetTerminalSize().columns - 1) << std::flush;
    m_isVisible = true;
}

void ProgressLine::Clear()
{
    if (m_isVisible)
        std::cerr << eraseLine << std::flush;
    m_isVisible = false;
}

} // namespace qx
