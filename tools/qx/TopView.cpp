#include "tools/qx/TopView.h"

#include "tools/qx/Table.h"

#include <algorithm>

namespace qx
{

namespace
{

using Rows = std::vector<qxm::WorkTableView::Row>;

/// Largest first, except for the identities. Equal rows stay in the table's order.
Rows Sorted(Rows rows, TopOrder order)
{
    using Row = qxm::WorkTableView::Row;
    // In the order of the enumerators.
    constexpr double (*keys[])(const Row&) = {
        [](const Row& row) { return static_cast<double>(row.index); },
        [](const Row& row) { return static_cast<double>(row.processId); },
        [](const Row& row) { return -static_cast<double>(row.work.active.jobs); },
        [](const Row& row) { return -static_cast<double>(row.work.pending.jobs); },
        [](const Row& row) { return -static_cast<double>(row.work.active.processors); },
        [](const Row& row) { return -static_cast<double>(row.work.active.memoryInMB); },
    };
    std::ranges::stable_sort(rows, {}, keys[static_cast<std::size_t>(order)]);
    return rows;
}

std::string UsageLine(const std::string& name, double used, std::uint64_t capacity, unsigned barWidth)
{
    const double fraction = capacity > 0 ? used / static_cast<double>(capacity) : 0;
    return name + ' ' + Bar(fraction, barWidth) + ' ' + FormatNumber(used) + " of " + std::to_string(capacity);
}

std::vector<std::string> RowCells(const qxm::WorkTableView::Row& row, std::int64_t now)
{
    const qxm::Work& active = row.work.active;
    const qxm::Work& pending = row.work.pending;
    return {std::to_string(row.processId), std::to_string(std::max<std::int64_t>(0, now - row.lastSeenAlive)) + " s",
        std::to_string(active.jobs), FormatNumber(active.processors), FormatNumber(active.memoryInMB, 0),
        std::to_string(pending.jobs), FormatNumber(pending.processors), FormatNumber(pending.memoryInMB, 0)};
}

Json WorkToJson(const qxm::Work& work)
{
    return {{"jobs", work.jobs}, {"processors", ToJson(work.processors)}, {"memoryInMB", ToJson(work.memoryInMB)}};
}

} // namespace

std::vector<std::string> DescribeWorkTable(
    const qxm::WorkTableView& view, const HostCapacity& host, TopOrder order, unsigned barWidth)
{
    const auto right = Table::Alignment_Right;
    Table table({{"PROCESS", right}, {"SEEN", right}, {"RUNNING", right}, {"PROCESSORS", right}, {"MB", right},
        {"PENDING", right}, {"PROCESSORS", right}, {"MB", right}});
    std::uint64_t pending = 0;
    for (const auto& row : Sorted(view.rows, order))
    {
        table.AddRow(RowCells(row, view.now));
        pending += row.work.pending.jobs;
    }
    std::vector<std::string> lines = {
        std::string(view.isGlobal ? "Global" : "Local") + " work table: client processes "
            + std::to_string(view.rows.size()) + ", running calls " + std::to_string(view.total.jobs)
            + ", pending calls " + std::to_string(pending),
        UsageLine("Processors", view.total.processors, host.processors, barWidth),
        UsageLine("Memory MB ", view.total.memoryInMB, host.memoryInMB, barWidth),
        "",
    };
    for (std::string& line : table.Lines())
        lines.push_back(std::move(line));
    return lines;
}

Json ToJson(const qxm::WorkTableView& view)
{
    Json rows = Json::array();
    for (const auto& row : view.rows)
    {
        rows.push_back({
            {"index", row.index},
            {"processId", row.processId},
            {"lastSeenAlive", row.lastSeenAlive},
            {"active", WorkToJson(row.work.active)},
            {"pending", WorkToJson(row.work.pending)},
        });
    }
    return {{"scope", view.isGlobal ? "Global" : "Local"}, {"rows", rows}, {"total", WorkToJson(view.total)}};
}

} // namespace qx
