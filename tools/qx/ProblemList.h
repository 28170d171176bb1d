#pragma once

#include "config/ExpectedUsage.h"
#include "runtime/text/Utf8.h"
#include "tools/qx/ConfigurationCheck.h"
#include "tools/qx/Explanation.h"

#include <string>
#include <vector>

/// What the parts of the configuration check share. Each part goes over elements with the library's own functions, and
/// adds what they throw, and what looks suspicious, to one list.
namespace qx
{

/// What has been found so far.
class ProblemList
{
public:
    std::vector<Problem> problems;

    void Error(const qxm::ConfigurationFile& file, qxm::XmlPosition position, std::wstring text)
    {
        problems.push_back({Severity::Error, file.path, position, std::move(text)});
    }
    void Warning(const qxm::ConfigurationFile& file, qxm::XmlPosition position, std::wstring text)
    {
        problems.push_back({Severity::Warning, file.path, position, std::move(text)});
    }

    /// The action's result. An error of the configuration is added, and the result is a value made of nothing.
    template <class Action>
    auto Try(Action action) -> decltype(action())
    {
        try
        {
            return action();
        }
        catch (const qxm::ConfigurationError& error)
        {
            problems.push_back({Severity::Error, error.GetPath(), error.GetPosition(), error.GetReason()});
            return {};
        }
    }
};

/// "; did you mean 'X'?" with the nearest of these names; empty when none is near.
inline std::wstring Suggestion(const std::wstring& given, const std::vector<std::wstring>& known)
{
    return qpr::FromUtf8(NearestNameHint(given, known));
}

/// Names that the file does not know, elements that may occur only once, and text where none is read.
void CheckNames(const qxm::ConfigurationFile& file, ProblemList& list);

/// The same of a service configuration file, in which the library refuses unknown names. False when the root element is
/// another one, so that there is nothing to look at.
bool CheckBaseNames(const qxm::ConfigurationFile& file, ProblemList& list);

/// Why the computer does not meet the element's host requirements; empty when it does. `whose` names the element.
std::wstring CheckRequirements(const qxm::ConfigurationFile& file, const qxm::XmlElement& element,
    const std::wstring& whose, const qxm::HostDescription& host, ProblemList& list);

/// The usage formulas of a service element, with the values of those that need no attribute, on a computer with these
/// limits.
void CheckFormulas(const qxm::ConfigurationFile& file, const qxm::XmlElement& element,
    const qxm::LocalServiceInfo& service, const qxm::LocalLimits& limits, ProblemList& list);

} // namespace qx
