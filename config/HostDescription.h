#pragma once

#include "config/HostTypes.h"
#include "config/Version.h"
#include "runtime/Nullable.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace qxm
{

inline constexpr std::uint64_t bytesPerMB = 1048576;

/// A program of the framework, its process and the computer it runs on: what client and distributor tell each other, in
/// one line, when they meet.
struct HostDescription
{
    std::wstring role; ///< "client", "distributor"
    std::wstring identifier; ///< "<host name>/<process id>"
    Version version;
    std::wstring hostName;
    std::uint32_t processId = 0;
    std::wstring userName;
    OSType osType = OSType::Unknown;
    qpr::Nullable<CpuLayout> cpuLayout; ///< null: unknown
    std::uint64_t cpuCount = 0; ///< logical processors
    CpuType cpuType = CpuType::Unknown;
    std::wstring cpuInfo; ///< the processor's name
    float cpuScore = 0; ///< relative speed
    std::uint64_t memorySizeInMB = 0;
    std::uint64_t laaAddressSpaceInMB = 0; ///< what a large-address-aware 32-bit process may have

    // Read from programs that tell them; not written.
    qpr::Nullable<std::uint64_t> cpuSpeedInHz;
    qpr::Nullable<std::uint64_t> linkSpeedInBps;

    /// Whether an identifier may stand on a servant's command line and in a journal: up to 128 letters, digits and
    /// characters of "._:/-".
    static bool IsIdentifier(std::wstring_view text) noexcept;

    /// The line, without a line end.
    std::wstring Write() const;

    /// Keys may come in any order or be missing. Throws "Unexpected role '...', expected '...'", "Invalid <role>
    /// command: ..." or "Error parsing '<key>=<value>'".
    static HostDescription Read(std::wstring_view line, const std::wstring& expectedRole);
};

} // namespace qxm
