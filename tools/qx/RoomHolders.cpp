#include "tools/qx/RoomHolders.h"

#include "runtime/processes/CurrentProcess.h"

#include <algorithm>

namespace qx
{

std::optional<std::string> DescribeWaiting(const qxm::WorkTableView& view, std::uint32_t ownProcessId)
{
    const bool waits = std::ranges::any_of(
        view.rows, [&](const auto& row) { return row.processId == ownProcessId && row.work.pending.jobs > 0; });
    if (!waits)
        return std::nullopt;
    std::string holders;
    for (const auto& row : view.rows)
    {
        const std::uint64_t calls = row.work.active.jobs;
        if (calls == 0 || row.processId == ownProcessId)
            continue;
        holders += (holders.empty() ? "; " : ", ") + std::to_string(calls) + (calls == 1 ? " call" : " calls")
            + " of process " + std::to_string(row.processId);
    }
    return "waiting for room on this computer" + (holders.empty() ? "" : holders + " running");
}

std::optional<std::string> DescribeWaiting()
try
{
    return DescribeWaiting(qxm::LookAtWorkTable(), qpr::CurrentProcess::GetId());
}
catch (const std::exception&)
{
    return std::nullopt;
}

} // namespace qx
