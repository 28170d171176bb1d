#pragma once

#include "config/Configuration.h"
#include "config/ConnectorSettings.h"

#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <vector>

namespace qxmi
{
class IServiceConnectionW;
}

namespace qx
{

class Exchange;

/// What is known around an error of the library. Fields that do not apply stay empty.
struct Situation
{
    std::wstring service = {};
    std::map<std::wstring, std::wstring> attributes = {};
    qxm::ConnectorConfiguration connector = {};
    qxm::Configuration configuration = {};
};

/// An error in the user's terms: the object and the remedy first. The library's own text is kept for --verbose.
class ExplainedError : public std::runtime_error
{
public:
    ExplainedError(const std::string& text, std::string inside)
        : std::runtime_error(text)
        , m_libraryText(std::move(inside))
    {
    }

    /// The library's own text; empty when what() is just that.
    const std::string& LibraryText() const noexcept { return m_libraryText; }

private:
    std::string m_libraryText;
};

/// Says in the user's terms what a text of the library means. The library's texts are fixed, so they are recognised as
/// a whole; one that already names object and remedy, or is not known, stays as it is. All texts are UTF-8.
ExplainedError Explain(const std::string& libraryText, const Situation& situation = {});

/// Calls the library; what it throws is explained.
template <class Function>
auto Explaining(const Situation& situation, const Function& function)
{
    try
    {
        return function();
    }
    catch (const std::exception& error)
    {
        throw Explain(error.what(), situation);
    }
}

/// "<host>:<port>" as configured.
std::string DistributorAddress(const Situation& situation);

/// The system's description at the end of a library's error text, "No such file or directory".
std::string SystemDescriptionIn(const std::string& libraryText);

/// Runs the exchange, then waits for the servant's end. Says how it ended when that was by a signal or with another
/// exit code than 0; nothing when it ended well or nobody knows. A connection that a distributor resets because a
/// signal has ended the servant counts as that end. Throws what the exchange throws.
std::optional<std::string> RunToServantEnd(
    Exchange& exchange, qxmi::IServiceConnectionW& connection, const Situation& situation);

/// "; did you mean 'X'?" with the nearest of these names; empty when none is near.
std::string NearestNameHint(const std::wstring& name, const std::vector<std::wstring>& known);

} // namespace qx
