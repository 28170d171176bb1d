#pragma once

#include <chrono>
#include <cstdint>
#include <fstream>
#include <set>
#include <string>

namespace qx
{

/// How one call of a batch went.
struct JobRecord
{
    std::size_t number = 0;
    std::string file;
    std::chrono::system_clock::time_point start;
    std::chrono::duration<double> duration{0};
    std::uint64_t bytesIn = 0;
    std::uint64_t bytesOut = 0;
    std::string result; ///< "done" or "failed: <text>"
};

/// The log of a batch: a heading, then a tab-separated line a call, each on disk's way as soon as its call has ended.
/// Used by one thread at a time.
class JobLog
{
public:
    /// No log.
    JobLog() = default;

    /// Begins a log anew, or continues one that is there. Throws std::runtime_error that names the file.
    JobLog(const std::string& fileName, bool continues);

    /// The files whose last line in the log continued says that they are done.
    const std::set<std::string>& FilesDone() const noexcept { return m_filesDone; }

    void Write(const JobRecord& record);

    /// Whether a file's name can stand in a log.
    static bool CanName(const std::string& file);

private:
    void TakeUp();
    void TakeLine(const std::string& line);
    [[noreturn]] void Fail(const std::string& problem) const;

    std::string m_fileName;
    std::ofstream m_file;
    std::set<std::string> m_filesDone;
};

} // namespace qx
