#include "tools/qx/JobLog.h"

#include "runtime/channels/FilePath.h"
#include "runtime/text/TimeFormat.h"
#include "runtime/text/Utf8.h"
#include "tools/qx/ExitCode.h"
#include "tools/qx/TextArgument.h"

#include <cerrno>
#include <cstdio>
#include <stdexcept>
#include <system_error>

namespace qx
{

namespace
{

const char heading[] = "seq\tfile\tstart\tduration\tin\tout\tresult";
constexpr std::size_t nameColumn = 1;
constexpr std::size_t sizeColumn = 5;
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

std::string Joined(const std::vector<std::string>& settings)
{
    std::string text;
    for (const std::string& setting : settings)
        text += (text.empty() ? "" : " ") + setting;
    return text;
}

} // namespace

JobLog::JobLog(const std::string& fileName, Start start, const std::vector<std::string>& settings)
    : m_fileName(fileName)
    , m_path(qpr::PathOfArgument(fileName))
{
    for (const std::string& setting : settings)
        m_settings.push_back(Escaped(setting));
    const bool isThere = start == Start::Continue && std::filesystem::exists(m_path);
    if (isThere)
        TakeUp();
    else if (IsForeign())
        Fail("is not a job log, and is left as it is");
    errno = 0;
    m_file.open(m_path, std::ios::binary | (isThere ? std::ios::app | std::ios::ate : std::ios::trunc));
    if (m_file && m_file.tellp() <= std::streampos(0))
    {
        m_file << heading;
        for (const std::string& setting : m_settings)
            m_file << '\t' << setting;
        m_file << '\n' << std::flush;
    }
    if (!m_file)
        Fail("cannot be written: " + std::generic_category().message(errno));
}

bool JobLog::IsForeign() const
{
    std::error_code ignored;
    if (!std::filesystem::is_regular_file(m_path, ignored) || std::filesystem::file_size(m_path, ignored) == 0)
        return false;
    std::string start(sizeof(heading) - 1, '\0');
    std::ifstream(m_path, std::ios::binary).read(start.data(), static_cast<std::streamsize>(start.size()));
    return start != heading;
}

/// Reads what is there, and cuts off a last line that was not finished.
void JobLog::TakeUp()
{
    std::ifstream file(m_path, std::ios::binary);
    std::uintmax_t completeSize = 0;
    std::string line;
    while (std::getline(file, line) && !file.eof())
    {
        if (completeSize == 0)
            TakeHeading(line);
        else
            TakeLine(line);
        completeSize += line.size() + 1;
    }
    if (file.bad() || !file.is_open())
        Fail("cannot be read");
    if (completeSize == 0 && !line.starts_with(heading) && !std::string(heading).starts_with(line))
        Fail("is not a job log");
    file.close();
    std::filesystem::resize_file(m_path, completeSize);
}

/// A heading without settings is of an earlier version.
void JobLog::TakeHeading(const std::string& line) const
{
    if (!line.starts_with(heading))
        Fail("is not a job log");
    const std::vector<std::string> fields = SplitFields(line);
    const std::vector<std::string> settings(fields.begin() + columnCount, fields.end());
    if (!settings.empty() && settings != m_settings)
        throw WrongCommandLine("job log '" + m_fileName + "' is of a run with " + Joined(settings) + ", not "
            + Joined(m_settings) + "; give another --joblog, or leave --resume out");
}

void JobLog::TakeLine(const std::string& line)
{
    const std::vector<std::string> fields = SplitFields(line);
    if (fields.size() != columnCount)
        Fail("is not a job log");
    if (fields[resultColumn] == "done")
        m_sizeOfDone[fields[nameColumn]] = fields[sizeColumn];
    else
        m_sizeOfDone.erase(fields[nameColumn]);
}

bool JobLog::SaysDone(const std::string& name, std::uintmax_t outputSize) const
{
    const auto done = m_sizeOfDone.find(name);
    return done != m_sizeOfDone.end() && done->second == std::to_string(outputSize);
}

void JobLog::Write(const JobRecord& record)
{
    if (m_fileName.empty())
        return;
    errno = 0;
    m_file << record.number << '\t' << record.name << '\t' << FormatStart(record.start) << '\t'
           << FormatDuration(record.duration) << '\t' << record.bytesIn << '\t' << record.bytesOut << '\t'
           << Escaped(record.result) << '\n'
           << std::flush;
    if (!m_file)
        Fail("cannot be written: " + std::generic_category().message(errno));
}

void JobLog::Fail(const std::string& problem) const
{
    throw std::runtime_error("job log '" + m_fileName + "' " + problem);
}

} // namespace qx
