#include "runtime/channels/Terminal.h"

#include "runtime/text/Errors.h"

#include <cstdlib>
#include <string_view>
#include <sys/ioctl.h>
#include <termios.h>
#include <unistd.h>

namespace qpr
{

bool IsTerminal(StandardStream stream)
{
    const char* kind = std::getenv("TERM");
    return ::isatty(static_cast<int>(stream)) == 1 && kind && std::string_view(kind) != "dumb";
}

TerminalSize GetTerminalSize()
{
    for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO, STDIN_FILENO})
    {
        winsize size = {};
        if (::ioctl(descriptor, TIOCGWINSZ, &size) == 0 && size.ws_col > 0 && size.ws_row > 0)
            return {size.ws_col, size.ws_row};
    }
    return {};
}

struct TerminalKeys::State
{
    termios former = {};
};

TerminalKeys::TerminalKeys()
    : m_state(std::make_unique<State>())
{
    if (::tcgetattr(STDIN_FILENO, &m_state->former) != 0)
        ThrowSystemError(L"GetConsoleMode() failed", L"qpr::TerminalKeys::TerminalKeys");
    termios keys = m_state->former;
    keys.c_lflag &= ~static_cast<tcflag_t>(ICANON | ECHO);
    keys.c_cc[VMIN] = 0;
    keys.c_cc[VTIME] = 0;
    if (::tcsetattr(STDIN_FILENO, TCSANOW, &keys) != 0)
        ThrowSystemError(L"SetConsoleMode() failed", L"qpr::TerminalKeys::TerminalKeys");
}

TerminalKeys::~TerminalKeys()
{
    ::tcsetattr(STDIN_FILENO, TCSANOW, &m_state->former);
}

WaitObject TerminalKeys::Object() const noexcept
{
    return WaitObject(NativeHandle(STDIN_FILENO), WaitObject::Kind_Readable);
}

std::optional<char> TerminalKeys::ReadKey()
{
    char key = 0;
    if (::read(STDIN_FILENO, &key, 1) != 1)
        return std::nullopt;
    return key;
}

} // namespace qpr
