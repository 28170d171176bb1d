#include "tools/qx/ByteFile.h"

#include "runtime/CurrentProcess.h"
#include "runtime/InputFile.h"
#include "runtime/Utf8.h"

#include <cerrno>
#include <stdexcept>
#include <system_error>

namespace qx
{

namespace
{

std::string ToText(const std::filesystem::path& path)
{
    const std::u8string text = path.u8string();
    return std::string(text.begin(), text.end());
}

std::filesystem::path HiddenPath(const std::filesystem::path& path)
{
    std::filesystem::path name = ".";
    name += path.filename();
    name += "." + std::to_string(qpr::CurrentProcess::GetId()) + ".part";
    return path.parent_path() / name;
}

} // namespace

FileReader::FileReader(const std::string& fileName)
    : m_fileName(fileName)
    , m_file(qpr::OpenInputFile(qpr::FromUtf8(fileName)))
{
}

std::size_t FileReader::Read(void* buffer, std::size_t size)
{
    errno = 0;
    m_file.read(static_cast<char*>(buffer), static_cast<std::streamsize>(size));
    if (m_file.bad())
        throw std::runtime_error("cannot read '" + m_fileName + "': " + std::generic_category().message(errno));
    return static_cast<std::size_t>(m_file.gcount());
}

WholeFile::WholeFile(std::filesystem::path path)
    : m_path(std::move(path))
    , m_hiddenPath(HiddenPath(m_path))
{
    errno = 0;
    m_file.open(m_hiddenPath, std::ios::binary | std::ios::trunc);
    if (!m_file)
        Fail();
}

WholeFile::~WholeFile()
{
    if (m_isPublished)
        return;
    m_file.close();
    std::error_code ignored;
    std::filesystem::remove(m_hiddenPath, ignored);
}

void WholeFile::Write(const void* buffer, std::size_t size)
{
    errno = 0;
    m_file.write(static_cast<const char*>(buffer), static_cast<std::streamsize>(size));
    if (!m_file)
        Fail();
}

void WholeFile::Flush()
{
    errno = 0;
    if (!m_file.flush())
        Fail();
}

void WholeFile::Close()
{
    errno = 0;
    m_file.close();
    if (!m_file)
        Fail();
}

void WholeFile::Publish()
{
    std::filesystem::rename(m_hiddenPath, m_path);
    m_isPublished = true;
}

void WholeFile::Fail() const
{
    throw std::runtime_error("cannot write '" + ToText(m_path) + "': " + std::generic_category().message(errno));
}

} // namespace qx
