#pragma once

#include "config/Configuration.h"

namespace qxm
{

/// How servants' crash dumps are taken; given to every servant.
struct CrashDumpSettings
{
    std::wstring flags;
    std::wstring directory;
};

CrashDumpSettings ReadCrashDump(const XmlElement& root);

/// Adds the services of the configuration file's servants, in document order: the last definition of a service counts,
/// and one whose requirements the host does not meet removes an earlier one.
void ReadServants(const ConfigurationFile& file, const CrashDumpSettings& crashDump, const HostDescription& localHost,
    ServicesMap& services);

/// Adds the services of the service configuration file's servants, which are all plain 32-bit ones without formulas. A
/// name may occur once.
void ReadBaseServants(const ConfigurationFile& file, const CrashDumpSettings& crashDump, ServicesMap& services);

// The single steps, for callers that look at each.

/// Whether the computer meets the HostRequirements of a servant or service element; one without them is met everywhere.
/// Throws what is wrong with the formula.
bool EvaluateHostRequirements(const XmlElement& element, const HostDescription& host);

/// The children of the parent's child element of that name; empty when there is none.
const std::vector<XmlElement>& ChildrenOf(const XmlElement& parent, const wchar_t* container);

/// A servant of a configuration file, and one of a service configuration file, which says less.
qpr::CountedPtr<const ServantInfo> ReadServant(
    const ConfigurationFile& file, const XmlElement& element, const CrashDumpSettings& crashDump);
qpr::CountedPtr<ServantInfo> ReadBaseServant(
    const ConfigurationFile& file, const XmlElement& element, const CrashDumpSettings& crashDump);

qpr::CountedPtr<const LocalServiceInfo> ReadService(
    const ConfigurationFile& file, const XmlElement& element, const qpr::CountedPtr<const ServantInfo>& servant);

} // namespace qxm
