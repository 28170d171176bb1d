#pragma once

#include "runtime/channels/IReader.h"
#include "runtime/channels/IWriter.h"

#include <filesystem>
#include <fstream>
#include <string>

/// Files as the two ends of an Exchange.
namespace qx
{

/// Opens a file for reading its bytes. Throws std::runtime_error "cannot read '<name>': <why>", for a directory too.
std::ifstream OpenToRead(const std::filesystem::path& path);

class FileReader final : public qpr::IReader
{
public:
    /// Throws what OpenToRead throws.
    explicit FileReader(std::filesystem::path path);

    std::size_t Read(void* buffer, std::size_t size) override;
    bool InputPending() override { return true; }

private:
    std::filesystem::path m_path;
    std::ifstream m_file;
};

/// An output file that appears whole or not at all: written under a hidden name in its directory, and given its own by
/// Publish. The destructor removes one that was not published.
class WholeFile final : public qpr::IWriter
{
public:
    explicit WholeFile(std::filesystem::path path);
    ~WholeFile() override;
    WholeFile(const WholeFile&) = delete;
    WholeFile& operator=(const WholeFile&) = delete;

    void Write(const void* buffer, std::size_t size) override;
    void Flush() override;

    /// All data is with the system; what went wrong is thrown here at the latest.
    void Close();

    /// Replaces what had the name before. Requires: closed.
    void Publish();

private:
    [[noreturn]] void Fail(int error) const;

    const std::filesystem::path m_path;
    const std::filesystem::path m_hiddenPath;
    std::ofstream m_file;
    bool m_isPublished = false;
};

/// Removes what processes of this computer that have ended have left unpublished in a directory. What cannot be removed
/// stays.
void RemoveAbandonedParts(const std::filesystem::path& directory);

/// A file's name as text for people and logs, escaped so that each name has a text of its own.
std::string NameOf(const std::filesystem::path& path);

} // namespace qx
