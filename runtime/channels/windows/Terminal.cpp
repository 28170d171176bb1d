#include "runtime/channels/Terminal.h"

#include "runtime/text/Errors.h"
#include "runtime/text/Utf8.h"
#include "runtime/threads/windows/Handle.h"

#include <string>
#include <utility>

namespace qpr
{

bool IsTerminal(StandardStream stream)
{
    const HANDLE handle = SystemHandleOf(HandleOf(stream));
    DWORD mode = 0;
    if (!GetConsoleMode(handle, &mode))
        return false;
    // Cursor movement and colour must be switched on; the console of an old system does not know them.
    return stream == StandardStream::Input || SetConsoleMode(handle, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

TerminalSize GetTerminalSize()
{
    for (const StandardStream stream : {StandardStream::Output, StandardStream::Error})
    {
        CONSOLE_SCREEN_BUFFER_INFO info{};
        if (!GetConsoleScreenBufferInfo(SystemHandleOf(HandleOf(stream)), &info))
            continue;
        const int columns = info.srWindow.Right - info.srWindow.Left + 1;
        const int rows = info.srWindow.Bottom - info.srWindow.Top + 1;
        if (columns > 0 && rows > 0)
            return {static_cast<unsigned>(columns), static_cast<unsigned>(rows)};
    }
    return {};
}

struct TerminalKeys::State
{
    HANDLE input = SystemHandleOf(HandleOf(StandardStream::Input)); // not owned
    DWORD former = 0;
    std::wstring halfPair; ///< a high surrogate whose low one is still to come
    std::string characters; ///< of keys that have been taken, not yet read
};

TerminalKeys::TerminalKeys()
    : m_state(std::make_unique<State>())
{
    if (!GetConsoleMode(m_state->input, &m_state->former))
        ThrowSystemError(L"GetConsoleMode() failed", L"qpr::TerminalKeys::TerminalKeys");
    if (!SetConsoleMode(m_state->input, m_state->former & ~static_cast<DWORD>(ENABLE_LINE_INPUT | ENABLE_ECHO_INPUT)))
        ThrowSystemError(L"SetConsoleMode() failed", L"qpr::TerminalKeys::TerminalKeys");
}

TerminalKeys::~TerminalKeys()
{
    SetConsoleMode(m_state->input, m_state->former);
}

WaitObject TerminalKeys::Object() const noexcept
{
    return WaitObject(NativeHandleOf(m_state->input), WaitObject::Kind_State);
}

std::optional<char> TerminalKeys::ReadKey()
{
    DWORD count = 0;
    while (m_state->characters.empty() && GetNumberOfConsoleInputEvents(m_state->input, &count) && count > 0)
    {
        INPUT_RECORD record{};
        if (!ReadConsoleInputW(m_state->input, &record, 1, &count))
            return std::nullopt;
        const KEY_EVENT_RECORD& key = record.Event.KeyEvent;
        if (record.EventType != KEY_EVENT || !key.bKeyDown || key.uChar.UnicodeChar == 0)
            continue;
        m_state->halfPair += key.uChar.UnicodeChar;
        if (IsHighSurrogate(key.uChar.UnicodeChar))
            continue;
        m_state->characters = ToUtf8(std::exchange(m_state->halfPair, {}));
    }
    if (m_state->characters.empty())
        return std::nullopt;
    const char first = m_state->characters.front();
    m_state->characters.erase(0, 1);
    return first;
}

} // namespace qpr
