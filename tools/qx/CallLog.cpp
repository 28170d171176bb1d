#include "tools/qx/CallLog.h"

#include "runtime/channels/FilePath.h"
#include "runtime/text/Utf8.h"
#include "tools/qx/StandardError.h"

#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace qx
{

CallLog::CallLog(std::string fileName, StandardError& errors)
    : m_errors(errors)
    , m_fileName(std::move(fileName))
{
    if (m_fileName.empty())
        return;
    errno = 0;
    m_file.open(qpr::PathOfArgument(m_fileName), std::ios::binary | std::ios::trunc);
    if (!m_file)
        Fail();
}

void CallLog::Write(const wchar_t* text, std::size_t length)
{
    if (m_fileName.empty())
        return m_errors.WriteLog({text, length});
    m_file << qpr::ToUtf8({text, length}) << std::flush;
}

void CallLog::Close()
{
    if (m_fileName.empty())
        return;
    errno = 0;
    m_file.close();
    if (!m_file)
        Fail();
}

void CallLog::Fail() const
{
    const int error = errno;
    throw std::runtime_error("cannot write the log file '" + m_fileName + "'"
        + (error != 0 ? ": " + std::generic_category().message(error) : std::string()));
}

} // namespace qx
