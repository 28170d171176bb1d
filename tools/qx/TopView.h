#pragma once

#include "tools/qx/Json.h"
#include "worktable/WorkTableView.h"

#include <cstdint>
#include <string>
#include <vector>

/// The work table as `qx top` shows it.
namespace qx
{

/// What the bars are drawn against.
struct HostCapacity
{
    std::uint64_t processors = 0;
    std::uint64_t memoryInMB = 0;
};

enum class TopOrder
{
    Row, ///< as in the table
    Process,
    Running,
    Pending,
    Processors,
    Memory,
};

/// The lines for people: what is used of the computer, then one row per client process. barWidth is the columns inside
/// a bar's brackets.
std::vector<std::string> DescribeWorkTable(
    const qxm::WorkTableView& view, const HostCapacity& host, TopOrder order, unsigned barWidth = 40);

Json ToJson(const qxm::WorkTableView& view);

} // namespace qx
