#include "config/XmlDocument.h"

#include "runtime/text/Utf8.h"

#include <algorithm>
#include <iterator>
#include <sstream>

namespace qxm
{

namespace
{

/// Positions are kept for so many runs of a text; no real formula has more.
constexpr std::size_t maxTextRuns = 10000;

void Validate(const XmlElement& root, const XmlElement& allowed)
{
    if (root.name != allowed.name)
        throw XmlError(L"Invalid element <" + root.name + L">, should be <" + allowed.name + L">", root.position);
    FindStrangers(
        root, allowed, [](const XmlStranger& stranger) { throw XmlError(stranger.ToText(), stranger.position); });
}

} // namespace

XmlPosition XmlPosition::Behind(std::wstring_view text) const noexcept
{
    XmlPosition position = *this;
    for (std::size_t index = 0; index < text.size(); ++position.column)
    {
        if (qpr::TakeCodePoint(text, index) == '\n')
            position = {position.line + 1, 0};
    }
    return position;
}

const XmlAttribute* XmlElement::FindAttribute(std::wstring_view attributeName) const noexcept
{
    const auto found = std::ranges::find(attributes, attributeName, &XmlAttribute::name);
    return found == attributes.end() ? nullptr : &*found;
}

std::wstring XmlElement::AttributeValue(std::wstring_view attributeName) const
{
    const XmlAttribute* const attribute = FindAttribute(attributeName);
    return attribute ? attribute->value : std::wstring();
}

XmlPosition XmlElement::PositionOf(std::wstring_view attributeName) const noexcept
{
    const XmlAttribute* const attribute = FindAttribute(attributeName);
    return attribute ? attribute->position : position;
}

XmlPosition XmlElement::PositionInText(std::size_t index) const noexcept
{
    const auto next = std::ranges::upper_bound(m_textRuns, index, {}, &TextRun::index);
    if (next == m_textRuns.begin())
        return position;
    const TextRun& run = *std::prev(next);
    return run.position.Behind(std::wstring_view(text).substr(run.index, index - run.index));
}

const XmlElement* XmlElement::FirstChild(std::wstring_view childName) const noexcept
{
    const auto found = std::ranges::find(children, childName, &XmlElement::name);
    return found == children.end() ? nullptr : &*found;
}

std::wstring XmlElement::ChildText(std::wstring_view childName) const
{
    const XmlElement* child = FirstChild(childName);
    return child ? child->text : std::wstring();
}

void XmlElement::AppendText(std::wstring_view more, XmlPosition at)
{
    if ((m_textRuns.empty() || at != m_textEnd) && m_textRuns.size() < maxTextRuns)
        m_textRuns.push_back({text.size(), at});
    text += more;
    m_textEnd = at.Behind(more);
}

void XmlElement::ClearText() noexcept
{
    text.clear();
    m_textRuns.clear();
}

XmlElement& XmlElement::AddChild(std::wstring childName)
{
    XmlElement& child = children.emplace_back();
    child.name = std::move(childName);
    return child;
}

std::wstring XmlStranger::ToText() const
{
    return (isAttribute ? L"Invalid attribute '" + name + L"'" : L"Invalid child element <" + name + L">")
        + L" in element <" + parent.name + L">";
}

void FindStrangers(
    const XmlElement& element, const XmlElement& allowed, const std::function<void(const XmlStranger&)>& visit)
{
    for (const XmlAttribute& attribute : element.attributes)
    {
        if (!allowed.FindAttribute(attribute.name))
            visit({element, allowed, true, attribute.name, attribute.position});
    }
    for (const XmlElement& child : element.children)
    {
        if (const XmlElement* const allowedChild = allowed.FirstChild(child.name))
            FindStrangers(child, *allowedChild, visit);
        else
            visit({element, allowed, false, child.name, child.position});
    }
}

XmlElement ReadTemplate(const char* xml)
{
    std::istringstream input(xml);
    return ReadXml(input);
}

XmlDocument XmlDocument::Read(std::istream& input, const std::wstring& documentName, const XmlElement* templateRoot)
{
    try
    {
        XmlDocument document{documentName, ReadXml(input)};
        if (templateRoot)
            Validate(document.root, *templateRoot);
        return document;
    }
    catch (const XmlError& error)
    {
        throw XmlError(documentName + L": " + qpr::ErrorText(error), error.GetReason(), error.GetPosition());
    }
}

} // namespace qxm
