#pragma once

#include "config/Configuration.h"
#include "config/XmlDocument.h"

namespace qxm
{

/// How servants' crash dumps are taken; given to every servant.
struct CrashDumpSettings
{
    std::wstring flags;
    std::wstring directory;
};

/// Adds the services of the configuration file's servants, in document order: the last definition of a service counts,
/// and one whose requirements the host does not meet removes an earlier one. root is the file's root element, directory
/// the file's own, to which servants' paths are relative.
void ReadServants(const XmlElement& root, const std::wstring& directory, const CrashDumpSettings& crashDump,
    const HostDescription& localHost, ServicesMap& services);

/// Adds the services of the service configuration file's servants, which are all plain 32-bit ones without formulas. A
/// name may occur once.
void ReadBaseServants(
    const XmlElement& root, const std::wstring& directory, const CrashDumpSettings& crashDump, ServicesMap& services);

} // namespace qxm
