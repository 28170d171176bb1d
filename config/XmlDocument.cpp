#include "config/XmlDocument.h"

#include "config/XmlReader.h"
#include "runtime/Errors.h"

#include <algorithm>

namespace qxm
{

namespace
{

void Validate(const XmlElement& element, const XmlElement& allowed)
{
    if (element.name != allowed.name)
        throw qpr::RuntimeError(L"Invalid element <" + element.name + L">, should be <" + allowed.name + L">");
    for (const auto& [attributeName, value] : element.attributes)
    {
        if (!allowed.FindAttribute(attributeName))
            throw qpr::RuntimeError(L"Invalid attribute '" + attributeName + L"' in element <" + element.name + L">");
    }
    for (const XmlElement& child : element.children)
    {
        const XmlElement* allowedChild = allowed.FirstChild(child.name);
        if (!allowedChild)
            throw qpr::RuntimeError(L"Invalid child element <" + child.name + L"> in element <" + element.name + L">");
        Validate(child, *allowedChild);
    }
}

} // namespace

const std::wstring* XmlElement::FindAttribute(std::wstring_view attributeName) const noexcept
{
    const auto found = std::ranges::find(attributes, attributeName, &Attribute::first);
    return found == attributes.end() ? nullptr : &found->second;
}

std::wstring XmlElement::AttributeValue(std::wstring_view attributeName) const
{
    const std::wstring* value = FindAttribute(attributeName);
    return value ? *value : std::wstring();
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

XmlElement& XmlElement::AddChild(std::wstring childName)
{
    XmlElement& child = children.emplace_back();
    child.name = std::move(childName);
    return child;
}

void XmlElement::SetAttribute(std::wstring_view attributeName, std::wstring value)
{
    const auto found = std::ranges::find(attributes, attributeName, &Attribute::first);
    if (found == attributes.end())
        attributes.emplace_back(attributeName, std::move(value));
    else
        found->second = std::move(value);
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
    catch (const qpr::RuntimeError& error)
    {
        throw qpr::RuntimeError(documentName + L": " + qpr::ErrorText(error));
    }
}

} // namespace qxm
