#pragma once

#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <map>
#include <string>
#include <vector>

namespace qx
{

/// How one call of a batch went.
struct JobRecord
{
    std::size_t number = 0;
    std::string name; ///< the file's, as the plan has it
    std::chrono::system_clock::time_point start;
    std::chrono::duration<double> duration{0};
    std::uint64_t bytesIn = 0;
    std::uint64_t bytesOut = 0;
    std::string result; ///< "done" or "failed: <text>"
};

/// The log of a batch: a heading, then a tab-separated line per call, written as soon as the call has ended. After
/// the columns' names the heading keeps the settings that decide what the outputs are. Used by one thread at a
/// time.
class JobLog
{
public:
    /// No log.
    JobLog() = default;

    enum class Start
    {
        Anew,
        Continue, ///< the log that is there, if there is one
    };

    /// Only a job log or an empty file is ever replaced. Throws
    /// std::runtime_error that names the file, WrongCommandLine when the log to continue has other settings.
    JobLog(const std::string& fileName, Start start, const std::vector<std::string>& settings);

    /// Whether the log continued says last that the file is done, with an output of this size.
    bool SaysDone(const std::string& name, std::uintmax_t outputSize) const;

    void Write(const JobRecord& record);

private:
    void TakeUp();
    void TakeHeading(const std::string& line) const;
    void TakeLine(const std::string& line);
    bool IsForeign() const;
    [[noreturn]] void Fail(const std::string& problem) const;

    std::string m_fileName;
    std::filesystem::path m_path;
    std::vector<std::string> m_settings;
    std::ofstream m_file;
    std::map<std::string, std::string> m_sizeOfDone; // the output's, as written, by the file's name
};

} // namespace qx
