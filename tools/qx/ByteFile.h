#pragma once

#include "runtime/IReader.h"
#include "runtime/IWriter.h"

#include <filesystem>
#include <fstream>
#include <string>

/// Files as the two ends of an Exchange.
namespace qx
{

class FileReader final : public qpr::IReader
{
public:
    /// The name is UTF-8. Throws a RuntimeError that names the file.
    explicit FileReader(const std::string& fileName);

    std::size_t Read(void* buffer, std::size_t size) override;
    bool InputPending() override { return true; }

private:
    std::string m_fileName;
    std::ifstream m_file;
};

/// A file that comes into being whole: written under a hidden name beside its own, which it gets only by Publish. The
/// destructor removes one that was not published.
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
    [[noreturn]] void Fail() const;

    const std::filesystem::path m_path;
    const std::filesystem::path m_hiddenPath;
    std::ofstream m_file;
    bool m_isPublished = false;
};

} // namespace qx
