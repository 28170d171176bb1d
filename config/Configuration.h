#pragma once

#include "config/HostDescription.h"
#include "config/ServiceInfo.h"
#include "config/XmlDocument.h"

#include <map>
#include <string>

namespace qxm
{

/// What is wrong with a configuration file, and where. The text is the error's own, which may not name the file.
class ConfigurationError : public XmlError
{
public:
    ConfigurationError(const XmlError& error, std::wstring path)
        : XmlError(error)
        , m_path(std::move(path))
    {
    }

    const std::wstring& GetPath() const noexcept { return m_path; }

private:
    std::wstring m_path;
};

/// A file that holds a configuration, as an XML tree.
struct ConfigurationFile
{
    std::wstring path;
    XmlElement root;

    /// Throws a ConfigurationError, and what opening the file throws. A template, if given, holds all that is allowed.
    static ConfigurationFile Read(const std::wstring& path, const XmlElement* templateRoot = nullptr);

    /// The directory that the file is in; paths in the file are relative to it.
    std::wstring Directory() const;

    /// Runs the action, which reads something of the element. A RuntimeError that it throws becomes a
    /// ConfigurationError with the same text, at the attribute of that name or else at the element.
    template <class Action>
    auto At(const XmlElement& element, std::wstring_view attributeName, Action action) const
    {
        try
        {
            return action();
        }
        catch (const ConfigurationError&)
        {
            throw;
        }
        catch (const qpr::RuntimeError& error)
        {
            throw ConfigurationError(XmlError(qpr::ErrorText(error), element.PositionOf(attributeName)), path);
        }
    }

    [[noreturn]] void Fail(const XmlElement& element, std::wstring_view attributeName, const std::wstring& text) const;
};

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

// The single steps, for callers that look at each.

/// The file, once its root element is known to be the right one.
ConfigurationFile ReadConfigurationFile(const std::wstring& path);
Configuration ReadConfiguration(const ConfigurationFile& file, const HostDescription& localHost);
DistributorSettings ReadDistributor(const XmlElement& root);

/// The path of the service configuration file that a configuration file names; empty when it names none.
std::wstring ServiceConfigurationPath(const ConfigurationFile& file);

/// What a service configuration file may hold.
XmlElement ServiceConfigurationTemplate();

} // namespace qxm
