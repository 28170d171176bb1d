#pragma once

#include "runtime/Nullable.h"
#include "runtime/channels/SocketAddress.h"

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace qxd
{

/// The program has nothing to do: the command line asks for a text, or is wrong.
class CommandLineEnd : public std::runtime_error
{
public:
    static constexpr int textAskedFor = 0;
    static constexpr int wrongCommandLine = 2;

    CommandLineEnd(const std::string& text, int exitCode)
        : std::runtime_error(text)
        , m_exitCode(exitCode)
    {
    }

    int ExitCode() const noexcept { return m_exitCode; }

private:
    int m_exitCode;
};

/// What qx-distributor is told to do.
struct Options
{
    std::wstring configurationPath;
    std::wstring listenHost; ///< empty: loopback
    std::wstring listenPort; ///< empty: the configuration's client port
    qpr::Nullable<std::uint32_t> slots; ///< null: one per processor
    std::wstring hostName; ///< empty: this computer's

    /// From the program's arguments in UTF-8, its name first. Throws CommandLineEnd.
    static Options Parse(const std::vector<std::string>& arguments);
};

} // namespace qxd
