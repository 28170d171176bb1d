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

/// The command line is wrong, or asks for nothing but a text; nothing has been done.
class CommandLineEnd : public std::runtime_error
{
public:
    CommandLineEnd(const std::string& text, bool isError)
        : std::runtime_error(text)
        , m_isError(isError)
    {
    }

    bool IsError() const noexcept { return m_isError; }

private:
    bool m_isError;
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
