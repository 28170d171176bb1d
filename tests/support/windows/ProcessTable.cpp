#include "support/ProcessTable.h"

namespace test
{

std::vector<SeenProcess> FindProcesses(const std::string&)
{
    return {};
}

/// The system keeps handles of its own in a process, as it needs them.
ResourceCount CountResources(std::uint32_t)
{
    return {};
}

} // namespace test
