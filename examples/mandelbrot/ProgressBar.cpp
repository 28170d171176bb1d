#include "ProgressBar.h"

#include <iostream>
#include <string>
#include <unistd.h>

namespace mandelbrot
{

namespace
{

constexpr std::size_t barWidth = 50;
constexpr int standardError = 2;

} // namespace

ProgressBar::ProgressBar(std::size_t total)
    : m_isTerminal(isatty(standardError) != 0)
    , m_total(total)
{
}

void ProgressBar::Advance()
{
    if (!m_isTerminal)
        return;
    const std::lock_guard lock(m_lock);
    if (m_isCleared)
        return;
    ++m_done;
    const std::size_t filled = m_done * barWidth / m_total;
    std::cerr << "\r[" << std::string(filled, '#') << std::string(barWidth - filled, '-') << "] " << m_done << " of "
              << m_total << " tiles" << std::flush;
}

void ProgressBar::Clear()
{
    const std::lock_guard lock(m_lock);
    m_isCleared = true;
    if (m_isTerminal)
        std::cerr << "\r\x1b[K" << std::flush;
}

} // namespace mandelbrot
