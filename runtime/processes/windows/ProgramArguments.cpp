#include "runtime/processes/ProgramArguments.h"

#include "runtime/text/Utf8.h"
#include "runtime/text/windows/SystemHeaders.h"

#include <memory>

#include <shellapi.h>

std::vector<std::string> qpr::ProgramArguments(int argc, char** argv)
{
    // Those of main have lost what the system's 8-bit character set lacks.
    int count = 0;
    const std::unique_ptr<wchar_t*, decltype(&LocalFree)> words(
        CommandLineToArgvW(GetCommandLineW(), &count), &LocalFree);
    if (!words)
        return std::vector<std::string>(argv, argv + argc);
    std::vector<std::string> arguments;
    for (int i = 0; i < count; ++i)
        arguments.push_back(ToUtf8(words.get()[i]));
    return arguments;
}

void qpr::ResetInheritedSignals() noexcept
{
    // Exit codes are kept here whatever the parent did.
}
