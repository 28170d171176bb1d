#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace qxm
{

/// The version of the library or of a servant library, written "major.minor.build.revision" with an optional fifth
/// component, the bitness.
struct Version
{
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint32_t build = 0;
    std::uint32_t revision = 0; ///< 0 too for a build from a modified working copy
    std::uint32_t bitness = 0; ///< 0: not stated

    /// Throws "Invalid <label> '<text>' (<reason>)"; an empty label reads "version string".
    static Version Parse(std::wstring_view text, std::wstring_view label);

    /// "15.1.1.1", or "15.1.1.1 (64-bit)" when the bitness is stated.
    std::wstring ToText() const;

    /// The same or newer by major, minor and build. A rebuild under another revision counts as the same version.
    bool AtLeast(const Version& other) const noexcept;

    friend bool operator==(const Version&, const Version&) = default;
};

/// This library's own version, set when the library is loaded.
extern const Version libraryVersion;

} // namespace qxm
