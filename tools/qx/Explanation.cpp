#include "tools/qx/Explanation.h"

#include "runtime/channels/FilePath.h"
#include "runtime/text/NearestName.h"
#include "runtime/text/PrintableText.h"
#include "runtime/text/SystemErrors.h"
#include "runtime/text/Utf8.h"
#include "tools/qx/Exchange.h"

#include <qxmi/IServiceConnectionW.h>

#include <filesystem>
#include <optional>
#include <string_view>

namespace qx
{

namespace
{

/// Where a servant runs.
enum class ServantPlace
{
    Here,
    Distributor,
};

using Gaps = std::vector<std::string>;

/// What stands at the stars of a pattern; each takes as little as it can, the last one what is left. Empty when the
/// text is not of this form.
std::optional<Gaps> Match(std::string_view text, std::string_view pattern)
{
    std::size_t star = pattern.find('*');
    if (!text.starts_with(pattern.substr(0, star)))
        return std::nullopt;
    text.remove_prefix(star);
    Gaps gaps;
    while (star != std::string_view::npos)
    {
        pattern.remove_prefix(star + 1);
        star = pattern.find('*');
        const std::string_view literal = pattern.substr(0, star);
        const bool isLast = star == std::string_view::npos;
        if (isLast && !text.ends_with(literal))
            return std::nullopt;
        const std::size_t end = isLast ? text.size() - literal.size() : text.find(literal);
        if (end == std::string_view::npos)
            return std::nullopt;
        gaps.emplace_back(text.substr(0, end));
        text.remove_prefix(end + literal.size());
    }
    return gaps;
}

std::string ConfigurationName(const Situation& situation)
{
    return "'" + qpr::ToUtf8(qxm::LocateConfigurationFile(situation.connector.settings.configurationPath)) + "'";
}

/// Why a program does not start, by the system's error number.
std::string StartRemedy(const std::string& path, const std::string& error, const Situation& situation)
{
    const bool isOfThisComputer = !situation.service.empty();
    std::error_code ignored;
    if (error == "0x2" && isOfThisComputer)
        return std::filesystem::exists(qpr::ToFilesystemPath(qpr::FromUtf8(path)), ignored)
            ? "; it is there, but the interpreter that its first line names is not"
            : "; " + ConfigurationName(situation) + " names it in RelativePath";
    if (error == "0xd")
        return "; make it executable";
    if (error == "0x8" || error == "0xc1")
        return "; it is neither a program nor a script whose first line begins with #!";
    return {};
}

/// "servant '<path>'" of one that this computer offers; else the servant by its service and distributor.
std::string DescribeServant(const Situation& situation, ServantPlace place)
{
    const auto service = situation.configuration.services.find(situation.service);
    if (place == ServantPlace::Here && service != situation.configuration.services.end())
        return "servant '" + qpr::ToUtf8(service->second->servant->executablePath) + "'";
    return "the servant of service '" + qpr::ToUtf8(situation.service) + "'"
        + (place == ServantPlace::Here ? "" : " at distributor " + DistributorAddress(situation));
}

/// Waits for the servant's end. Says how it ended when that was by a signal or with another exit code than 0; nothing
/// when it ended well or nobody knows.
std::optional<std::string> ServantFailure(qxmi::IServiceConnectionW& connection, const Situation& situation)
{
    qxmi::ServantEnd end;
    if (!connection.WaitForServantEnd(end) || (end.exitCode == 0 && end.signal == 0))
        return std::nullopt;
    std::string text =
        DescribeServant(situation, connection.IsLocal() ? ServantPlace::Here : ServantPlace::Distributor);
    if (end.signal == 0)
        return text + " ended with exit code " + std::to_string(end.exitCode);
    text += " was ended by signal " + std::to_string(end.signal);
    const std::wstring description = qpr::DescribeSignal(end.signal);
    return description.empty() ? text : text + " (" + qpr::ToUtf8(description) + ")";
}

bool IsOfLostConnection(const std::string& text)
{
    return text.starts_with("WSARecv() failed") || text.starts_with("WSASend() failed");
}

// One function for each kind of error: the text for people, from the library's own and what stands at the stars of its
// pattern.

std::string ExplainStart(const std::string&, const Gaps& gaps, const Situation& situation)
{
    return "cannot start servant '" + gaps[0] + "': " + gaps[3] + StartRemedy(gaps[0], gaps[2], situation);
}

std::string ExplainFile(const std::string&, const Gaps& gaps, const Situation&)
{
    return "cannot read '" + gaps[0] + "': " + gaps[3];
}

std::string ExplainXml(const std::string&, const Gaps& gaps, const Situation&)
{
    return gaps[0] + gaps[2] + ", " + gaps[3];
}

std::string ExplainAnswer(const std::string&, const Gaps& gaps, const Situation& situation)
{
    constexpr std::size_t maxQuoteLength = 100; // leaves room for the remedy behind it
    const std::string answer = qpr::ToUtf8(qpr::Printable(qpr::FromUtf8(gaps[0]), maxQuoteLength));
    const std::string what = answer.empty() ? " gave no answer line" : " answered '" + answer + "'";
    return DescribeServant(situation, ServantPlace::Here) + what
        + "; its standard output has to begin with a line 'servant ID executing " + qpr::ToUtf8(situation.service)
        + "' (" + gaps[1] + ")";
}

std::string ExplainResolving(const std::string&, const Gaps& gaps, const Situation& situation)
{
    const qxm::DistributorSettings& distributor = situation.configuration.distributor;
    if (gaps[1] == "10109")
        return "the distributor's port '" + qpr::ToUtf8(distributor.clientPort)
            + "' is not a port number (1 to 65535); see ClientPort in " + ConfigurationName(situation);
    return "cannot find the distributor's computer '" + qpr::ToUtf8(distributor.host) + "': " + gaps[2]
        + " See Host in " + ConfigurationName(situation);
}

std::string ExplainConnecting(const std::string&, const Gaps& gaps, const Situation& situation)
{
    const std::string address = gaps[0] + ':' + qpr::ToUtf8(situation.configuration.distributor.clientPort);
    const std::string& why = gaps[1];
    if (why.starts_with("WSAConnect() failed, Winsock error number = 10061"))
        return "no distributor at " + address + "; start qx-distributor there, or name another in the element "
            + "Distributor of " + ConfigurationName(situation);
    if (const auto connecting = Match(why, "WSAConnect() failed*Winsock error number = *: *"))
        return "cannot reach the distributor at " + address + ": " + (*connecting)[2];
    if (const auto refused = Match(why, "Service request rejected by distributor (*)"))
        return "the distributor at " + address + " refused the call: " + Explain((*refused)[0]).what();
    if (why.starts_with("Unexpected role"))
        return "what listens at " + address + " is not a distributor: " + why;
    return "distributor at " + address + ": " + why;
}

std::string ExplainLogPort(const std::string&, const Gaps& gaps, const Situation& situation)
{
    const std::string distributor = "the distributor at " + DistributorAddress(situation);
    if (gaps[0].empty())
        return distributor + " ended the connection before the call had started";
    return distributor + " could not start the call: " + Explain(gaps[0]).what();
}

std::string ExplainLostConnection(const std::string&, const Gaps& gaps, const Situation& situation)
{
    return "lost the connection to the distributor at " + DistributorAddress(situation) + ": " + gaps[2];
}

std::string ExplainMissingValue(const std::string&, const Gaps& gaps, const Situation& situation)
{
    const std::string& name = gaps[1];
    if (situation.service.empty())
        return "the formula needs a value for '" + name + "'";
    std::string result = "service '" + qpr::ToUtf8(situation.service) + "' needs the attribute '" + name + "'";
    std::vector<std::wstring> given;
    for (const auto& [key, value] : situation.attributes)
        given.push_back(key);
    if (const auto nearest = qpr::NearestName(qpr::FromUtf8(name), given))
        result += " (you gave '" + qpr::ToUtf8(*nearest) + "')";
    return result;
}

std::string SuggestService(const std::string& text, const Gaps&, const Situation& situation)
{
    std::vector<std::wstring> known;
    for (const auto& [name, service] : situation.configuration.services)
        known.push_back(name);
    return text + NearestNameHint(situation.service, known);
}

std::string SuggestConnector(const std::string& text, const Gaps& gaps, const Situation&)
{
    using qxm::ConnectorKind;
    std::vector<std::wstring> known;
    for (const ConnectorKind kind : {ConnectorKind::Local, ConnectorKind::Network, ConnectorKind::Hybrid})
        known.emplace_back(qxm::ConnectorName(kind));
    return text + NearestNameHint(qpr::FromUtf8(gaps[0]), known);
}

std::string SuggestAttribute(const std::string& text, const Gaps& gaps, const Situation&)
{
    std::vector<std::wstring> known = {L"QxConfigurationPath", L"MaxRunningCalls", L"LogServiceExecutionInfo"};
    if (gaps[1] != qpr::ToUtf8(qxm::ConnectorName(qxm::ConnectorKind::Network)))
        known.insert(known.end(),
            {L"MaxLocalServants", L"ProcessorUtilizationLimit", L"PhysicalMemoryUtilizationLimit",
                L"MaxRunningNoWaitCalls", L"NoWaitCallMemoryUsageLimitInMB"});
    return text + NearestNameHint(qpr::FromUtf8(gaps[0]), known);
}

/// A text of the library, with a star for each part that varies. The first row that matches counts.
struct Explainer
{
    const char* pattern;
    std::string (*explain)(const std::string& text, const Gaps& gaps, const Situation& situation);
};

constexpr Explainer explainers[] = {
    {"CreateProcess('*') failed in *, error number = *: *", ExplainStart},
    {"CreateFile('*') failed in *, error number = *: *", ExplainFile},
    {"*XML_ParseBuffer() failed, Expat error code = * (*), *", ExplainXml},
    {"Error processing servant answer '*': *", ExplainAnswer},
    {"GetAddrInfo() failed in *, Winsock error number = *: *", ExplainResolving},
    {"Error sending service request to distributor at *: *", ExplainConnecting},
    {"Expected 'establish log connection to port <log port>' but got '*'", ExplainLogPort},
    {"WSARecv() failed*Winsock error number = *: *", ExplainLostConnection},
    {"WSASend() failed*Winsock error number = *: *", ExplainLostConnection},
    {"*Missing definition for helper variable '*'", ExplainMissingValue},
    {"Service '*' not available on local computer", SuggestService},
    {"Invalid service connector name '*'", SuggestConnector},
    {"Invalid attribute '*' in <*> element", SuggestAttribute},
};

} // namespace

ExplainedError Explain(const std::string& libraryText, const Situation& situation)
{
    for (const Explainer& explainer : explainers)
    {
        const std::optional<Gaps> gaps = Match(libraryText, explainer.pattern);
        if (!gaps)
            continue;
        const std::string text = explainer.explain(libraryText, *gaps, situation);
        return ExplainedError(text, text.starts_with(libraryText) ? std::string() : libraryText);
    }
    return ExplainedError(libraryText, {});
}

std::string DistributorAddress(const Situation& situation)
{
    const qxm::DistributorSettings& distributor = situation.configuration.distributor;
    return qpr::ToUtf8(distributor.host + L":" + distributor.clientPort);
}

std::optional<std::string> RunToServantEnd(
    Exchange& exchange, qxmi::IServiceConnectionW& connection, const Situation& situation)
{
    try
    {
        exchange.Run(connection);
    }
    catch (const std::exception& error)
    {
        if (!IsOfLostConnection(error.what()))
            throw;
        if (auto failure = ServantFailure(connection, situation))
            return failure;
        throw;
    }
    return ServantFailure(connection, situation);
}

std::string SystemDescriptionIn(const std::string& libraryText)
{
    const auto gaps = Match(libraryText, "*error number = *: *");
    return gaps ? (*gaps)[2] : libraryText;
}

std::string NearestNameHint(const std::wstring& name, const std::vector<std::wstring>& known)
{
    const std::optional<std::wstring> nearest = qpr::NearestName(name, known);
    return nearest ? "; did you mean '" + qpr::ToUtf8(*nearest) + "'?" : std::string();
}

} // namespace qx
