#pragma once

#include "random/Plan.h"

#include <filesystem>
#include <string>
#include <vector>

/// Where the programs that take part in a call find what they need: a directory that the environment names.
namespace test
{

inline constexpr const wchar_t* placesVariable = L"QX_RANDOM_CALLS";

/// What one servant has got, told when it ends.
struct ServantReport
{
    std::uint64_t received = 0;
    std::uint64_t hash = 0; ///< of that
    bool isComplete = false; ///< every step was carried out
};

class Places
{
public:
    explicit Places(std::filesystem::path directory)
        : m_directory(std::move(directory))
    {
    }
    static Places FromEnvironment();

    const std::filesystem::path& Directory() const { return m_directory; }

    void WriteSeed(const std::string& service, std::uint64_t seed) const;
    std::uint64_t ReadSeed(const std::string& service) const;

    /// Is there whole or not at all.
    void WriteReport(const std::string& service, const ServantReport& report) const;
    std::vector<ServantReport> ReadReports(const std::string& service) const;

    /// A child that a servant has left got to its writing.
    void NoteChildWrites(const std::string& service) const;
    bool HasChildWritten(const std::string& service) const;

    /// The output of one of several calls; there when the call is done.
    std::filesystem::path OutputOf(const std::string& service, unsigned call) const;

    /// Removes all that was written for the service.
    void Clear(const std::string& service) const;

private:
    std::filesystem::path PathOf(const std::string& service, const std::string& suffix) const;

    std::filesystem::path m_directory;
};

} // namespace test
