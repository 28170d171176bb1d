#include "tools/qx/JobLog.h"

#include "runtime/FilePath.h"
#include "runtime/TimeFormat.h"
#include "runtime/Utf8.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <stdexcept>
#include <vector>

namespace qx
{

namespace
{

const char heading[] = "seq\tfile\tstart\tduration\tin\tout\tresult";
constexpr std::size_t fileColumn = 1;
constexpr std::size_t resultColumn = 6;
constexpr std::size_t columnCount = 7;

std::string FormatStart(std::chrono::system_clock::time_point start)
{
    const auto seconds = std::chrono::floor<std::chrono::seconds>(start);
    const auto milliseconds = std::chrono::floor<std::chrono::milliseconds>(start - seconds).count();
    char fraction[16];
    std::snprintf(fraction, sizeof(fraction), ".%03dZ", static_cast<int>(milliseconds));
    return qpr::ToUtf8(qpr::FormatUtcTime(seconds, L"%Y-%m-%dT%H:%M:%S")) + fraction;
}

std::string FormatDuration(std::chrono::duration<double> duration)
{
    char text[64];
    std::snprintf(text, sizeof(text), "%.3f", duration.count());
    return text;
}

/// An error's text in one field.
std::string InOneField(std::string text)
{
    std::replace_if(
        text.begin(), text.end(), [](char c) { return c == '\t' || c == '\n' || c == '\r'; }, ' ');
    return text;
}

std::vector<std::string> SplitFields(const std::string& line)
{
    std::vector<std::string> fields(1);
    for (const char character : line)
    {
        if (character == '\t')
            fields.emplace_back();
        else
            fields.back() += character;
    }
    return fields;
}

} // namespace

JobLog::JobLog(const std::string& fileName, bool continues)
    : m_fileName(fileName)
{
    const std::filesystem::path path = qpr::ToFilesystemPath(qpr::FromUtf8(fileName));
    const bool isThere = continues && std::filesystem::exists(path);
    if (isThere)
        TakeUp();
    m_file.open(path, std::ios::binary | (isThere ? std::ios::app | std::ios::ate : std::ios::trunc));
    if (m_file && m_file.tellp() == std::streampos(0))
        m_file << heading << '\n' << std::flush;
    if (!m_file)
        Fail("cannot be written");
}

/// Reads what is there, and cuts off a last line that has no end.
void JobLog::TakeUp()
{
    const std::filesystem::path path = qpr::ToFilesystemPath(qpr::FromUtf8(m_fileName));
    std::ifstream file(path, std::ios::binary);
    std::uintmax_t completeSize = 0;
    std::string line;
    while (std::getline(file, line) && !file.eof())
    {
        if (completeSize == 0 && line != heading)
            Fail("is not a job log");
        if (completeSize != 0)
            TakeLine(line);
        completeSize += line.size() + 1;
    }
    if (file.bad() || !file.is_open())
        Fail("cannot be read");
    if (completeSize == 0 && !std::string(heading).starts_with(line))
        Fail("is not a job log");
    file.close();
    std::filesystem::resize_file(path, completeSize);
}

void JobLog::TakeLine(const std::string& line)
{
    const std::vector<std::string> fields = SplitFields(line);
    if (fields.size() != columnCount)
        Fail("is not a job log");
    if (fields[resultColumn] == "done")
        m_filesDone.insert(fields[fileColumn]);
    else
        m_filesDone.erase(fields[fileColumn]);
}

void JobLog::Write(const JobRecord& record)
{
    if (m_fileName.empty())
        return;
    m_file << record.number << '\t' << record.file << '\t' << FormatStart(record.start) << '\t'
           << FormatDuration(record.duration) << '\t' << record.bytesIn << '\t' << record.bytesOut << '\t'
           << InOneField(record.result) << '\n'
           << std::flush;
    if (!m_file)
        Fail("cannot be written");
}

bool JobLog::CanName(const std::string& file)
{
    return file.find_first_of("\t\n\r") == std::string::npos;
}

void JobLog::Fail(const std::string& problem) const
{
    throw std::runtime_error("job log '" + m_fileName + "' " + problem);
}

} // namespace qx
