#pragma once

#include <cstddef>
#include <mutex>

namespace mandelbrot
{

/// A bar on the terminal behind the standard error stream; nothing when there is none. Any thread may advance it.
class ProgressBar
{
public:
    explicit ProgressBar(std::size_t total);

    void Advance();

    /// Leaves an empty line for other text.
    void Clear();

private:
    const bool m_isTerminal;
    const std::size_t m_total;
    std::mutex m_lock;
    std::size_t m_done = 0;
    bool m_isCleared = false;
};

} // namespace mandelbrot
