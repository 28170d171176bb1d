#pragma once

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

/// A key that the tables do not know, of a newer program perhaps, is Unknown.
OSType OSTypeOfKey(std::wstring_view key) noexcept;
CpuType CpuTypeOfKey(std::wstring_view key) noexcept;

struct CpuLayout
{
    std::uint32_t packages = 0;
    std::uint32_t coresPerPackage = 0;
    bool isHyperThreaded = false;

    /// "2 x 4-Core (HT)".
    std::wstring ToText() const;

    /// Reads that form. Throws for any other.
    static CpuLayout Parse(const std::wstring& text);

    friend bool operator==(const CpuLayout&, const CpuLayout&) = default;
};

} // namespace qxm
