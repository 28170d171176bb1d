#include "worktable/WorkTableTrace.h"

#include "runtime/processes/CurrentProcess.h"
#include "runtime/text/TimeFormat.h"
#include "runtime/text/Utf8.h"

#include <array>
#include <bit>
#include <chrono>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <locale>
#include <sstream>

namespace qxm
{

namespace
{

/// The differences of one row, a line each.
class RowTrace
{
public:
    RowTrace(std::ostream& output, std::size_t number)
        : m_output(output)
        , m_number(number)
    {
    }

    template <class T>
    void Field(const char* name, T before, T after)
    {
        // By their bytes: a value that is not a number equals nothing, itself included.
        if (BytesOf(before) != BytesOf(after))
            m_output << m_number << ' ' << name << ' ' << before << " -> " << after << '\n';
    }

private:
    template <class T>
    static auto BytesOf(const T& value)
    {
        return std::bit_cast<std::array<std::byte, sizeof value>>(value);
    }

    std::ostream& m_output;
    std::size_t m_number;
};

void TraceRow(std::ostream& output, std::size_t number, const layout::Row& before, const layout::Row& after)
{
    RowTrace trace(output, number);
    const layout::Resources &activeBefore = before.activeWork.resources, &activeAfter = after.activeWork.resources;
    const layout::Resources &pendingBefore = before.pendingWork.resources, &pendingAfter = after.pendingWork.resources;
    trace.Field<std::uint32_t>("ProcessId", before.processId, after.processId);
    trace.Field<std::int64_t>("LastSeenAlive", before.lastSeenAlive, after.lastSeenAlive);
    trace.Field<std::uint32_t>("ActiveWork.Jobs", before.activeWork.jobs, after.activeWork.jobs);
    trace.Field<float>("ActiveWork.Resources.Processors", activeBefore.processors, activeAfter.processors);
    trace.Field<float>("ActiveWork.Resources.MemoryInMB", activeBefore.memoryInMB, activeAfter.memoryInMB);
    trace.Field<std::uint32_t>("PendingWork.Jobs", before.pendingWork.jobs, after.pendingWork.jobs);
    trace.Field<float>("PendingWork.Resources.Processors", pendingBefore.processors, pendingAfter.processors);
    trace.Field<float>("PendingWork.Resources.MemoryInMB", pendingBefore.memoryInMB, pendingAfter.memoryInMB);
}

std::string TraceText(std::int64_t now, const layout::Table& before, const layout::Table& after)
{
    std::ostringstream output;
    output.imbue(std::locale::classic());
    const std::chrono::system_clock::time_point moment{std::chrono::seconds(now)};
    output << "Process " << qpr::CurrentProcess::GetId() << " at " << qpr::ToUtf8(qpr::FormatUtcTime(moment)) << '\n';
    for (std::size_t i = 0; i < layout::RowCount; ++i)
        TraceRow(output, i + 1, before.rows[i], after.rows[i]);
    return std::move(output).str();
}

} // namespace

void AppendWorkTableTrace(
    const std::wstring& path, std::int64_t now, const layout::Table& before, const layout::Table& after) noexcept
{
    try
    {
        std::ofstream(std::filesystem::path(path), std::ios::app) << TraceText(now, before, after);
    }
    catch (const std::exception&)
    {
    }
}

} // namespace qxm
