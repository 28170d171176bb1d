#pragma once

#include "config/Configuration.h"
#include "config/ConnectorSettings.h"

#include <optional>
#include <string>
#include <vector>

namespace qx
{

enum class Severity
{
    Error, ///< the library or a distributor refuses it
    Warning, ///< it is allowed, but probably not what its author meant
};

/// What is wrong with a configuration, and where.
struct Problem
{
    Severity severity = Severity::Error;
    std::wstring path;
    qxm::XmlPosition position;
    std::wstring text;
};

/// A service that the configuration defines and this computer does not offer.
struct WithheldService
{
    std::wstring name;
    std::wstring path;
    qxm::XmlPosition position; ///< of the definition that counts
    std::wstring reason;
};

struct ConfigurationFindings
{
    std::optional<qxm::Configuration> configuration; ///< what the library makes of it; none when it refuses it
    std::vector<Problem> problems; ///< by file and position
    std::vector<WithheldService> withheld; ///< by name
};

/// Checks the configuration file of these settings, and the service configuration file that it names: names, what the
/// library refuses, formulas, servants' files, services that nobody gets. For a network connector, which uses nothing
/// else, checks the names and the distributor alone. Throws for a file that cannot be opened.
ConfigurationFindings CheckConfiguration(const qxm::ConnectorConfiguration& connector);

} // namespace qx
