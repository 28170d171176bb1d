#pragma once

#include "runtime/channels/StandardStreams.h"
#include "runtime/threads/WaitObject.h"

#include <memory>
#include <optional>

/// The terminal, if any, that the standard streams are connected to.
namespace qpr
{

/// Whether the stream is a terminal that understands cursor movement and colour.
bool IsTerminal(StandardStream stream);

struct TerminalSize
{
    unsigned columns = 80;
    unsigned rows = 24;
};

/// The size as it is now; 80 x 24 where the system does not know.
TerminalSize GetTerminalSize();

/// While it lives, keys arrive at once and are not shown. The destructor restores the terminal. Requires: the standard
/// input is a terminal. Used by one thread at a time.
class TerminalKeys
{
public:
    TerminalKeys();
    ~TerminalKeys();
    TerminalKeys(const TerminalKeys&) = delete;
    TerminalKeys& operator=(const TerminalKeys&) = delete;

    /// Signalled while a key waits to be read.
    WaitObject Object() const noexcept;

    /// The next key's character, without waiting. Keys beyond ASCII come as several characters.
    std::optional<char> ReadKey();

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace qpr
