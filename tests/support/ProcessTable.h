#pragma once

#include <cstdint>
#include <string>
#include <vector>

/// What a test sees of processes from outside. Nothing of it where the system does not tell.
namespace test
{

struct SeenProcess
{
    std::uint32_t id = 0;
    std::vector<std::string> arguments;
};

/// Processes that were started with this argument and have not ended.
std::vector<SeenProcess> FindProcesses(const std::string& argument);

struct ResourceCount
{
    std::size_t handles = 0;
    std::size_t threads = 0;
    std::size_t children = 0;

    friend bool operator==(const ResourceCount&, const ResourceCount&) = default;
};

ResourceCount CountResources(std::uint32_t processId);

} // namespace test
