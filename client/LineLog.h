#pragma once

#include <qxmi/IProcessRequestW.h>

#include <cstddef>
#include <string>

namespace QxClient
{

/// Cuts a process's output into lines for its request; a line longer than 65536 characters comes in pieces. Used by one
/// thread at a time. What the request throws is ignored.
class LineLog
{
public:
    explicit LineLog(qxmi::IProcessRequestW& request)
        : m_request(request)
    {
    }

    void Write(const wchar_t* text, std::size_t length);
    void Flush() noexcept { }

    /// Passes on a last line without its line end.
    void Finish();

private:
    void PassOn();

    qxmi::IProcessRequestW& m_request; // not owned
    std::wstring m_line;
};

} // namespace QxClient
