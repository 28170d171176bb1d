#include "support/ProcessTable.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>

namespace test
{

namespace
{

/// Empty where the process has gone meanwhile.
std::string Content(const std::filesystem::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    std::ostringstream content;
    content << stream.rdbuf();
    return content.str();
}

std::size_t CountEntries(const std::filesystem::path& directory)
{
    std::error_code gone;
    const std::filesystem::directory_iterator entries(directory, gone);
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

} // namespace

std::vector<SeenProcess> FindProcesses(const std::string& argument)
{
    std::vector<SeenProcess> found;
    for (const auto& entry : std::filesystem::directory_iterator("/proc"))
    {
        const std::string name = entry.path().filename().string();
        if (!std::ranges::all_of(name, [](char digit) { return digit >= '0' && digit <= '9'; }))
            continue;
        const std::string content = Content(entry.path() / "cmdline"); // empty for one that has ended
        if (content.find(argument) == std::string::npos)
            continue;
        SeenProcess process{static_cast<std::uint32_t>(std::stoul(name)), {}};
        std::istringstream line(content);
        for (std::string word; std::getline(line, word, '\0');)
            process.arguments.push_back(word);
        if (std::ranges::count(process.arguments, argument) != 0)
            found.push_back(process);
    }
    return found;
}

ResourceCount CountResources(std::uint32_t processId)
{
    const std::filesystem::path process = "/proc/" + std::to_string(processId);
    ResourceCount count{CountEntries(process / "fd"), CountEntries(process / "task"), 0};
    std::error_code gone;
    for (const auto& task : std::filesystem::directory_iterator(process / "task", gone))
    {
        const std::string children = Content(task.path() / "children");
        count.children += static_cast<std::size_t>(std::ranges::count(children, ' '));
    }
    return count;
}

} // namespace test
