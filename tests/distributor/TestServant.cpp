#include "distributor/ServantCounts.h"
#include "support/ChildMain.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

/// The servant that the tests of the distributor run: what it does is the service's name.
namespace
{

bool ReadByte()
{
    return std::getchar() != EOF;
}

void Say(const std::string& text)
{
    std::fwrite(text.data(), 1, text.size(), stdout);
    std::fflush(stdout);
}

void Echo()
{
    std::vector<char> buffer(65536);
    while (const std::size_t size = std::fread(buffer.data(), 1, buffer.size(), stdin))
        std::fwrite(buffer.data(), 1, size, stdout);
    std::fflush(stdout);
    std::fputs("echoed \xc3\xa9\n", stderr);
}

/// The first line says where to be counted: here with its processors, elsewhere with its slot.
void Work(bool isLocal)
{
    std::string line;
    for (int byte = std::getchar(); byte != EOF && byte != '\n'; byte = std::getchar())
        line += static_cast<char>(byte);
    std::istringstream words(line);
    std::string counts;
    unsigned processors = 0;
    std::optional<test::CountedServant> counted;
    if (words >> counts >> processors)
        counted.emplace(counts, isLocal, isLocal ? processors : 1);
    Echo();
}

int Execute(const std::vector<std::string>& arguments)
{
    const std::string& service = arguments[0];
    if (service == "Vanish")
        return 7;
    Say("servant test executing " + service + "\r\n");
    if (service == "Echo")
        Echo();
    if (service == "Work" || service == "Remote")
        Work(std::ranges::count(arguments, "IsLocal=true") != 0);
    if (service == "Hold") // until its input ends
    {
        while (ReadByte())
        {
        }
    }
    if (service == "Flood") // without reading
    {
        const std::string data(1000, 'x');
        while (std::fwrite(data.data(), 1, data.size(), stdout) == data.size())
        {
        }
    }
    if (service == "Sink") // ends its output first
    {
        std::fclose(stdout);
        std::size_t count = 0;
        while (ReadByte())
            ++count;
        std::fputs((std::to_string(count) + " bytes\n").c_str(), stderr);
    }
    if (service == "Crash")
    {
        Say("half of an answer");
        std::fputs("half a line", stderr);
        std::abort();
    }
    if (service == "Arguments")
    {
        for (const std::string& argument : arguments)
            Say(argument + "\n");
    }
    return service == "Fail" ? 3 : 0;
}

const test::ChildRegistration registration("execute", &Execute);

} // namespace
