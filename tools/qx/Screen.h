#pragma once

#include <string>
#include <vector>

namespace qx
{

/// The whole terminal behind the standard output, while it lives: a screen of its own, redrawn without flicker. What
/// stood there before comes back at the end. Requires: the standard output is a terminal.
class Screen
{
public:
    Screen();
    ~Screen();
    Screen(const Screen&) = delete;
    Screen& operator=(const Screen&) = delete;

    /// Lines that do not fit are cut; the last one stands at the bottom.
    void Draw(const std::vector<std::string>& lines, const std::string& bottomLine);
};

} // namespace qx
