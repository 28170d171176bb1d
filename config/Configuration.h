#pragma once

#include "config/ConfigurationFile.h"
#include "config/HostDescription.h"
#include "config/ServiceInfo.h"

#include <map>
#include <string>

namespace qxm
{

/// The services this computer offers, by name.
using ServicesMap = std::map<std::wstring, qpr::CountedPtr<const LocalServiceInfo>>;

/// Where the distributor listens for clients. Both are texts as configured, converted where the connection is opened.
struct DistributorSettings
{
    std::wstring host = L"localhost";
    std::wstring clientPort = L"57555";
};

/// What a configuration file, with the service configuration file that it may name, says for this computer.
struct Configuration
{
    ServicesMap services;
    DistributorSettings distributor;
};

/// The configured path, or "QxConfiguration.xml" beside the application's executable when that is empty.
std::wstring LocateConfigurationFile(const std::wstring& configuredPath);

/// Reads the file with its servants and services; those whose host requirements localHost does not meet are left out.
/// Throws a ConfigurationError that says what is wrong and where, or what opening a file throws.
Configuration ReadConfiguration(const std::wstring& path, const HostDescription& localHost);

/// Reads the file for the distributor alone; servants and services are not looked at.
DistributorSettings ReadDistributorSettings(const std::wstring& path);

// The steps of these, for who has to look at each.

/// The file, once its root element is known to be the right one.
ConfigurationFile ReadConfigurationFile(const std::wstring& path);
Configuration ReadConfiguration(const ConfigurationFile& file, const HostDescription& localHost);
DistributorSettings ReadDistributor(const XmlElement& root);

/// The path of the service configuration file that a configuration file names; empty when it names none.
std::wstring ServiceConfigurationPath(const ConfigurationFile& file);

/// What a service configuration file may hold.
XmlElement ServiceConfigurationTemplate();

} // namespace qxm
