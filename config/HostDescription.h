#pragma once

#include "config/Version.h"
#include "runtime/Nullable.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace qxm
{

enum class OSType : std::uint32_t
{
    Windows2000 = 0,
    WindowsXP = 1,
    WindowsServer2003 = 2,
    WindowsVista = 3,
    WindowsServer2008 = 4,
    Windows7 = 5,
    WindowsServer2008R2 = 6,
    Windows8 = 7,
    WindowsServer2012 = 8,
    Windows81 = 9,
    WindowsServer2012R2 = 10,
    Windows10 = 11,
    WindowsServer2016 = 12,
    UnknownWindows = 13,
    Linux = 14,
    Unknown = 15,
};

enum class CpuType : std::uint32_t
{
    IA32 = 0,
    IA64 = 1,
    X64 = 2,
    ARM = 3,
    Unknown = 4,
};

/// The key that stands for the type in a line, and the name that people read. Values outside the table are Unknown.
const wchar_t* OSTypeKey(OSType type) noexcept;
const wchar_t* OSTypeName(OSType type) noexcept;
const wchar_t* CpuTypeKey(CpuType type) noexcept;
const wchar_t* CpuTypeName(CpuType type) noexcept;

struct CpuLayout
{
    std::uint32_t packages = 0;
    std::uint32_t coresPerPackage = 0;
    bool isHyperThreaded = false;

    /// "2 x 4-Core (HT)".
    std::wstring ToText() const;
    friend bool operator==(const CpuLayout&, const CpuLayout&) = default;
};

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

    /// The line, without a line end.
    std::wstring Write() const;

    /// Keys may come in any order or be missing. Throws "Unexpected role '...', expected '...'", "Invalid <role>
    /// command: ..." or "Error parsing '<key>=<value>'".
    static HostDescription Read(std::wstring_view line, const std::wstring& expectedRole);
};

} // namespace qxm
