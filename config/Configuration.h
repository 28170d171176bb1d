#pragma once

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
/// Throws a RuntimeError that names what is wrong.
Configuration ReadConfiguration(const std::wstring& path, const HostDescription& localHost);

/// Reads the file for the distributor alone; servants and services are not looked at.
DistributorSettings ReadDistributorSettings(const std::wstring& path);

} // namespace qxm
