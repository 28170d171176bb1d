#include "support/ChildMain.h"

#include <cstdio>
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

int Execute(const std::vector<std::string>& arguments)
{
    const std::string& service = arguments[0];
    Say("servant test executing " + service + "\r\n");
    if (service == "Echo")
        Echo();
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
    if (service == "Arguments")
    {
        for (const std::string& argument : arguments)
            Say(argument + "\n");
    }
    return service == "Fail" ? 3 : 0;
}

const test::ChildRegistration registration("execute", &Execute);

} // namespace
