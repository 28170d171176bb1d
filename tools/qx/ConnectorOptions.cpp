#include "tools/qx/ConnectorOptions.h"

#include "config/LocalHost.h"
#include "config/XmlDocument.h"
#include "runtime/Environment.h"
#include "runtime/Errors.h"
#include "runtime/Utf8.h"
#include "tools/qx/Explanation.h"
#include "tools/qx/TextArgument.h"

#include <sstream>

namespace qx
{

namespace
{

const wchar_t pathAttribute[] = L"QxConfigurationPath";

void WriteEscaped(std::ostream& xml, const std::string& value)
{
    for (const char character : value)
    {
        switch (character)
        {
        case '&':
            xml << "&amp;";
            break;
        case '<':
            xml << "&lt;";
            break;
        case '"':
            xml << "&quot;";
            break;
        case '\t':
        case '\n':
        case '\r':
            xml << "&#" << int(character) << ';';
            break;
        default:
            xml << character;
        }
    }
}

/// Only the root element and its attributes matter in a connector configuration.
std::string WriteRoot(const qxm::XmlElement& root)
{
    std::ostringstream xml;
    xml << '<' << qpr::ToUtf8(root.name);
    for (const auto& [name, value] : root.attributes)
    {
        xml << ' ' << qpr::ToUtf8(name) << "=\"";
        WriteEscaped(xml, qpr::ToUtf8(value));
        xml << '"';
    }
    xml << "/>";
    return xml.str();
}

qxm::Configuration Read(const qxm::ConnectorConfiguration& connector, const std::wstring& path)
{
    if (connector.kind == qxm::ConnectorKind::Network)
        return {{}, qxm::ReadDistributorSettings(path)};
    return qxm::ReadConfiguration(path, qxm::DescribeLocalHost(L"client"));
}

} // namespace

void ConnectorOptions::AddTo(CLI::App& command, const std::string& connectorName)
{
    command.add_option(connectorName, m_connector, "Connector: <LocalServiceConnector/> unless given; or @FILE")
        ->type_name("XML");
    command
        .add_option("--config", m_configurationPath, "Configuration file; else the connector's, else $QX_CONFIGURATION")
        ->type_name("FILE");
}

std::string ConnectorOptions::ConnectorXml() const
{
    std::string xml = ReadTextArgument(m_connector);
    std::istringstream text(xml);
    qxm::XmlElement root = qxm::XmlDocument::Read(text, L"service connector configuration").root;
    if (!m_configurationPath.empty())
    {
        root.SetAttribute(pathAttribute, qpr::FromUtf8(m_configurationPath));
        return WriteRoot(root);
    }
    const std::optional<std::wstring> path = qpr::EnvironmentVariable(L"QX_CONFIGURATION");
    if (!path || path->empty() || !root.AttributeValue(pathAttribute).empty())
        return xml;
    root.SetAttribute(pathAttribute, *path);
    return WriteRoot(root);
}

qxm::Configuration ReadConfigurationOf(const qxm::ConnectorConfiguration& connector)
{
    const std::wstring path = qxm::LocateConfigurationFile(connector.settings.configurationPath);
    try
    {
        return Read(connector, path);
    }
    catch (const std::exception& error)
    {
        const std::wstring text = qpr::ErrorText(error);
        if (text.starts_with(L"CreateFile('" + path + L"')"))
            throw ExplainedError("cannot read configuration '" + qpr::ToUtf8(path)
                    + "': " + SystemDescriptionIn(error.what()) + "; name one with --config or QX_CONFIGURATION",
                error.what());
        if (text.find(path) != std::wstring::npos)
            throw;
        throw qpr::RuntimeError(L"configuration file '" + path + L"': " + text);
    }
}

} // namespace qx
