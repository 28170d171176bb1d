#pragma once

#include <cstddef>
#include <cstdint>

/// The work table's bytes, as every program of the framework on this computer lays them out: 40 rows, nothing before,
/// between or after them, little-endian, the 64-bit field unaligned. Any process may have written anything here.
namespace qxm::layout
{

inline constexpr std::size_t RowCount = 40;

#pragma pack(push, 1)

struct Resources
{
    float processors;
    float memoryInMB;
};

struct WorkFields
{
    std::uint32_t jobs;
    Resources resources;
};

struct Row
{
    std::uint32_t processId; ///< of the job manager that owns the row; 0: the row is free
    std::int64_t lastSeenAlive; ///< seconds since 1970-01-01 UTC
    WorkFields activeWork;
    WorkFields pendingWork;
};

struct Table
{
    Row rows[RowCount];
};

#pragma pack(pop)

static_assert(sizeof(Row) == 36 && sizeof(Table) == 1440);
static_assert(offsetof(Row, processId) == 0 && offsetof(Row, lastSeenAlive) == 4);
static_assert(offsetof(Row, activeWork) == 12 && offsetof(Row, pendingWork) == 24);
static_assert(offsetof(WorkFields, jobs) == 0 && offsetof(WorkFields, resources) == 4);
static_assert(offsetof(Resources, processors) == 0 && offsetof(Resources, memoryInMB) == 4);

} // namespace qxm::layout
