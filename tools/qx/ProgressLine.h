#pragma once

#include <string>

namespace qx
{

/// One line at the bottom of a terminal that tells how far the work is; nothing where the standard error stream is no
/// terminal. Used by one thread at a time.
class ProgressLine
{
public:
    ProgressLine();
    ~ProgressLine() { Clear(); }
    ProgressLine(const ProgressLine&) = delete;
    ProgressLine& operator=(const ProgressLine&) = delete;

    bool IsShown() const noexcept { return m_isTerminal; }

    /// Replaces the line; what does not fit is cut.
    void Show(const std::string& text);

    /// Makes way for other text.
    void Clear();

private:
    const bool m_isTerminal;
    bool m_isVisible = false;
};

} // namespace qx
