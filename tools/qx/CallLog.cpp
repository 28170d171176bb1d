#include "tools/qx/CallLog.h"

#include "runtime/FilePath.h"
#include "runtime/Utf8.h"

#include <iostream>
#include <stdexcept>

namespace qx
{

CallLog::CallLog(std::string fileName)
    : m_fileName(std::move(fileName))
{
    if (m_fileName.empty())
        return;
    m_file.open(qpr::ToFilesystemPath(qpr::FromUtf8(m_fileName)), std::ios::binary | std::ios::trunc);
    if (!m_file)
        throw std::runtime_error("cannot write the log file '" + m_fileName + "'");
}

void CallLog::Write(const wchar_t* text, std::size_t length)
{
    std::ostream& stream = m_fileName.empty() ? std::cerr : m_file;
    stream << qpr::ToUtf8({text, length}) << std::flush;
}

void CallLog::Close()
{
    if (m_fileName.empty())
        return;
    m_file.close();
    if (!m_file)
        throw std::runtime_error("cannot write the log file '" + m_fileName + "'");
}

} // namespace qx
