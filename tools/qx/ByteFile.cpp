#include "tools/qx/ByteFile.h"

#include "runtime/channels/FilePath.h"
#include "runtime/computer/ComputerFacts.h"
#include "runtime/processes/CurrentProcess.h"
#include "runtime/text/Utf8.h"
#include "tools/qx/TextArgument.h"

#include <atomic>
#include <cerrno>
#include <charconv>
#include <stdexcept>
#include <system_error>

namespace qx
{

namespace
{

const char partSuffix[] = ".part";

/// The prefix of the hidden names of this computer's processes: the directory may be shared with other computers.
std::string PartPrefix()
{
    return ".qx-" + qpr::ToUtf8(qpr::ComputerFacts::GetHostName()) + '-';
}

/// Not made of the output's own name, which may already be as long as the file system allows.
std::filesystem::path PartPath(const std::filesystem::path& path)
{
    static std::atomic<unsigned> count = 0;
    const std::string name =
        PartPrefix() + std::to_string(qpr::CurrentProcess::GetId()) + '-' + std::to_string(++count) + partSuffix;
    return path.parent_path() / qpr::PathOfArgument(name);
}

/// The id of the process that a hidden name belongs to; 0 for any other name.
std::uint32_t ProcessOfPart(const std::string& name, const std::string& prefix)
{
    std::uint32_t id = 0;
    if (!name.starts_with(prefix) || !name.ends_with(partSuffix))
        return 0;
    const auto [end, error] = std::from_chars(name.data() + prefix.size(), name.data() + name.size(), id);
    return error == std::errc() && *end == '-' ? id : 0;
}

std::string ReasonOf(int error)
{
    return std::generic_category().message(error);
}

} // namespace

std::ifstream OpenToRead(const std::filesystem::path& path)
{
    errno = 0;
    std::ifstream file(path, std::ios::binary);
    int error = file ? 0 : errno;
    // Some systems open a directory like a file and fail only when it is read.
    std::error_code ignored;
    if (std::filesystem::is_directory(path, ignored))
        error = EISDIR;
    if (error != 0 || !file)
        throw std::runtime_error("cannot read '" + NameOf(path) + "': " + ReasonOf(error));
    return file;
}

FileReader::FileReader(std::filesystem::path path)
    : m_path(std::move(path))
    , m_file(OpenToRead(m_path))
{
}

std::size_t FileReader::Read(void* buffer, std::size_t size)
{
    errno = 0;
    m_file.read(static_cast<char*>(buffer), static_cast<std::streamsize>(size));
    if (m_file.bad())
        throw std::runtime_error("cannot read '" + NameOf(m_path) + "': " + ReasonOf(errno));
    return static_cast<std::size_t>(m_file.gcount());
}

WholeFile::WholeFile(std::filesystem::path path)
    : m_path(std::move(path))
    , m_hiddenPath(PartPath(m_path))
{
    errno = 0;
    m_file.open(m_hiddenPath, std::ios::binary | std::ios::trunc);
    if (!m_file)
        Fail(errno);
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
        Fail(errno);
}

void WholeFile::Flush()
{
    errno = 0;
    if (!m_file.flush())
        Fail(errno);
}

void WholeFile::Close()
{
    errno = 0;
    m_file.close();
    if (!m_file)
        Fail(errno);
}

void WholeFile::Publish()
{
    std::error_code error;
    std::filesystem::rename(m_hiddenPath, m_path, error);
    if (error)
        throw std::runtime_error("cannot write '" + NameOf(m_path) + "': " + error.message());
    m_isPublished = true;
}

void WholeFile::Fail(int error) const
{
    throw std::runtime_error("cannot write '" + NameOf(m_path) + "': " + ReasonOf(error));
}

void RemoveAbandonedParts(const std::filesystem::path& directory)
try
{
    const std::string prefix = PartPrefix();
    for (const auto& entry : std::filesystem::directory_iterator(directory))
    {
        const std::uint32_t process = ProcessOfPart(NameOf(entry.path().filename()), prefix);
        std::error_code ignored;
        if (process != 0 && !qpr::IsProcessRunning(process))
            std::filesystem::remove(entry.path(), ignored);
    }
}
catch (const std::exception&)
{
    // A directory that cannot be read is found out when an output is written.
}

std::string NameOf(const std::filesystem::path& path)
{
    const std::u8string text = path.u8string(); // on Linux the name's own bytes
    return Escaped({reinterpret_cast<const char*>(text.data()), text.size()});
}

} // namespace qx
