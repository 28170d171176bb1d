#include "protocol/NetworkLog.h"

#include <algorithm>
#include <charconv>
#include <string_view>

namespace qxm
{

namespace
{

constexpr std::size_t maxServantEndSize = 32; // anything longer does not tell an end

bool ParseNumber(std::string_view text, std::uint32_t& number)
{
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    return error == std::errc() && end == text.data() + text.size();
}

} // namespace

std::size_t NetworkLog::Read(void* buffer, std::size_t size)
{
    auto* const bytes = static_cast<char*>(buffer);
    for (;;)
    {
        const std::size_t count = ReadBytes(bytes, size);
        if (count == 0 || !m_tellsServantEnd)
            return count;
        char* const mark = m_servantEnd.empty() ? std::find(bytes, bytes + count, servantEndMark) : bytes;
        const auto room = static_cast<std::ptrdiff_t>(maxServantEndSize - m_servantEnd.size());
        m_servantEnd.append(mark, mark + std::min(bytes + count - mark, room));
        if (mark != bytes)
            return static_cast<std::size_t>(mark - bytes);
    }
}

std::size_t NetworkLog::ReadBytes(char* buffer, std::size_t size)
{
    try
    {
        return m_reader.Read(buffer, size);
    }
    catch (const std::exception&)
    {
        m_error = std::current_exception();
        throw;
    }
}

bool NetworkLog::ServantEnd(qxmi::ServantEnd& end) const
{
    if (m_error && m_tellsServantEnd)
        std::rethrow_exception(m_error);
    constexpr std::string_view exit = "\xFF"
                                      "exit ";
    constexpr std::string_view signal = "\xFF"
                                        "signal ";
    std::string_view text = m_servantEnd;
    if (!text.ends_with('\n'))
        return false;
    text.remove_suffix(1);
    std::uint32_t number = 0;
    if (text.starts_with(exit) && ParseNumber(text.substr(exit.size()), number))
        end = {number, 0};
    else if (text.starts_with(signal) && ParseNumber(text.substr(signal.size()), number) && number != 0)
        end = {0, number};
    else
        return false;
    return true;
}

} // namespace qxm
