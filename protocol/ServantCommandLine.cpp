#include "protocol/ServantCommandLine.h"

namespace qxm
{
namespace
{

// What a servant's library must be to understand an argument.
constexpr Version numberOfProcessorsVersion{8, 8, 0};
constexpr Version processorsNotApplicableVersion{8, 8, 1};
constexpr Version compressionModeVersion{11, 0, 0};

std::wstring CompressionArgument(CompressionMode mode)
{
    const std::wstring argument = L"CompressionMode=";
    return mode > CompressionMode::Qlz14 ? argument : argument + CompressionModeName(mode);
}

} // namespace

std::vector<std::wstring> BuildExecuteCommandLine(const LocalServiceInfo& service, const std::wstring& clientIdentifier,
    StartedBy starter, std::uint32_t numberOfProcessorsToUse, CompressionMode compressionMode)
{
    const ServantInfo& servant = *service.servant;
    std::vector<std::wstring> arguments = {servant.executablePath, L"execute", service.name};
    if (!clientIdentifier.empty())
        arguments.push_back(L"ClientId=" + clientIdentifier);
    if (starter == StartedBy::Client)
        arguments.push_back(L"IsLocal=true");
    if (numberOfProcessorsToUse != 0 && servant.LibraryIsAtLeast(numberOfProcessorsVersion))
        arguments.push_back(L"NumberOfProcessorsToUse=" + std::to_wstring(numberOfProcessorsToUse));
    if (numberOfProcessorsToUse == 0 && servant.LibraryIsAtLeast(processorsNotApplicableVersion))
        arguments.push_back(L"NumberOfProcessorsToUse=NotApplicable");
    if (servant.LibraryIsAtLeast(compressionModeVersion))
        arguments.push_back(CompressionArgument(compressionMode));
    if (!servant.crashDumpFlags.empty())
        arguments.push_back(L"CrashDumpFlags=" + servant.crashDumpFlags);
    if (!servant.crashDumpDirectory.empty())
        arguments.push_back(L"CrashDumpDirectory=" + servant.crashDumpDirectory);
    return arguments;
}

} // namespace qxm
