#include "tools/qx/ProblemList.h"

#include "runtime/text/WhiteSpace.h"

#include <algorithm>
#include <iterator>

namespace qx
{

namespace
{

using qxm::ConfigurationFile;
using qxm::XmlElement;
using qxm::XmlStranger;

/// What the library and the distributor read in a configuration file.
XmlElement ConfigurationTemplate()
{
    return qxm::ReadTemplate(R"(
        <QxConfiguration ServiceConfigurationPath="">
          <System><CrashDump Flags="" Directory=""/></System>
          <Distributor Host="" ClientPort=""/>
          <Servants>
            <Servant RelativePath="" TargetPlatform="" IsLargeAddressAware="" QxServantLibraryVersion="">
              <HostRequirements/>
              <Services>
                <Service Name="" CompressionMode="">
                  <HostRequirements/>
                  <ExpectedResourceUsageHelpers/>
                  <ExpectedProcessorUsage/>
                  <ExpectedMemoryUsageInMB/>
                </Service>
              </Services>
            </Servant>
          </Servants>
        </QxConfiguration>)");
}

/// Names that other programs read in the same file.
constexpr const wchar_t* foreignNames[] = {L"AgentPort", L"CompressionMode", L"CpuScore", L"CurrentExecutable",
    L"CurrentVersion", L"DefaultAgentSettings", L"JobLimit", L"PhysicalMemoryUtilizationLimit",
    L"ProcessorUtilizationLimit", L"QxAgent", L"IfHostName", L"IfCpuInfo", L"IfProcessorCount", L"IfPhysicalMemory",
    L"Equals", L"LessThan", L"MoreThan", L"Matches", L"StartsWith"};

bool MayRepeat(const std::wstring& elementName)
{
    return elementName == L"Servant" || elementName == L"Service";
}

/// "; did you mean 'X'?" of what may stand where the stranger does.
std::wstring SuggestionFor(const XmlStranger& stranger)
{
    std::vector<std::wstring> known;
    if (stranger.isAttribute)
        std::ranges::transform(stranger.allowed.attributes, std::back_inserter(known), &qxm::XmlAttribute::name);
    else
        std::ranges::transform(stranger.allowed.children, std::back_inserter(known), &XmlElement::name);
    return Suggestion(stranger.name, known);
}

/// A stranger that resembles no known name may be meant for a program that is not known here.
void CheckStranger(const ConfigurationFile& file, const XmlStranger& stranger, ProblemList& list)
{
    if (std::ranges::find(foreignNames, stranger.name) != std::end(foreignNames))
        return;
    const bool isReadAnyway =
        !stranger.isAttribute && (stranger.parent.name == L"Servants" || stranger.parent.name == L"Services");
    const std::wstring suggestion = SuggestionFor(stranger);
    const std::wstring text = (stranger.isAttribute ? L"unknown attribute '" : L"unknown element '") + stranger.name
        + L"' in <" + stranger.parent.name + L">"
        + (isReadAnyway ? L", read as '" + stranger.allowed.children.front().name + L"'" : suggestion);
    if (isReadAnyway || suggestion.empty())
        list.Warning(file, stranger.position, text);
    else
        list.Error(file, stranger.position, text);
}

void CheckShape(const ConfigurationFile& file, const XmlElement& element, const XmlElement& allowed, ProblemList& list)
{
    const bool isForText = allowed.attributes.empty() && allowed.children.empty();
    if (!isForText && !std::ranges::all_of(element.text, qpr::IsWhiteSpace))
        list.Warning(file, element.PositionInText(0), L"the text in <" + element.name + L"> is ignored");
    for (const XmlElement& child : element.children)
    {
        const XmlElement* const allowedChild = allowed.FirstChild(child.name);
        if (!allowedChild)
            continue;
        if (!MayRepeat(child.name) && element.FirstChild(child.name) != &child)
            list.Warning(
                file, child.position, L"only the first <" + child.name + L"> in <" + element.name + L"> counts");
        CheckShape(file, child, *allowedChild, list);
    }
}

} // namespace

void CheckNames(const ConfigurationFile& file, ProblemList& list)
{
    const XmlElement allowed = ConfigurationTemplate();
    FindStrangers(file.root, allowed, [&](const XmlStranger& stranger) { CheckStranger(file, stranger, list); });
    CheckShape(file, file.root, allowed, list);
}

bool CheckBaseNames(const ConfigurationFile& file, ProblemList& list)
{
    const XmlElement allowed = qxm::ServiceConfigurationTemplate();
    if (file.root.name != allowed.name)
    {
        list.Error(
            file, file.root.position, L"Invalid element <" + file.root.name + L">, should be <" + allowed.name + L">");
        return false;
    }
    FindStrangers(file.root, allowed,
        [&](const XmlStranger& stranger)
        { list.Error(file, stranger.position, stranger.ToText() + SuggestionFor(stranger)); });
    CheckShape(file, file.root, allowed, list);
    return true;
}

} // namespace qx
