#pragma once

#include "runtime/channels/Socket.h"

#include <string>
#include <string_view>

namespace test
{

inline std::string ReadToEnd(qpr::Socket& socket)
{
    qpr::SocketReader reader(socket);
    std::string all;
    char buffer[4096];
    while (const std::size_t count = reader.Read(buffer, sizeof buffer))
        all.append(buffer, count);
    return all;
}

/// Up to the line feed, that included, and not a byte more; less when the data ends.
inline std::string ReadLineFrom(qpr::Socket& socket)
{
    qpr::SocketReader reader(socket);
    std::string line;
    char byte = 0;
    while (!line.ends_with('\n') && reader.Read(&byte, 1) != 0)
        line += byte;
    return line;
}

inline void WriteTo(qpr::Socket& socket, std::string_view bytes)
{
    qpr::SocketWriter(socket).Write(bytes.data(), bytes.size());
}

} // namespace test
