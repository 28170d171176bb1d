#include "tools/qx/Screen.h"

#include "runtime/channels/Terminal.h"

#include <iostream>

namespace qx
{

namespace
{

const char enter[] = "\x1b[?1049h\x1b[?25l"; // the alternate screen, no cursor
const char leave[] = "\x1b[?25h\x1b[?1049l";
const char home[] = "\x1b[H";
const char clearToLineEnd[] = "\x1b[K";
const char clearBelow[] = "\x1b[J";

} // namespace

Screen::Screen()
{
    std::cout << enter << std::flush;
}

Screen::~Screen()
{
    std::cout << leave << std::flush;
}

void Screen::Draw(const std::vector<std::string>& lines, const std::string& bottomLine)
{
    const qpr::TerminalSize size = qpr::GetTerminalSize();
    std::string picture = home;
    for (std::size_t row = 0; row < lines.size() && row + 1 < size.rows; ++row)
        picture += lines[row].substr(0, size.columns) + clearToLineEnd + "\r\n";
    picture += clearBelow;
    picture += "\x1b[" + std::to_string(size.rows) + ";1H" + bottomLine.substr(0, size.columns - 1);
    std::cout << picture << std::flush;
}

} // namespace qx
