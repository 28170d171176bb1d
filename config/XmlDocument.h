#pragma once

#include <istream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qxm
{

/// An element with attributes and either child elements or text.
struct XmlElement
{
    using Attribute = std::pair<std::wstring, std::wstring>;

    std::wstring name;
    std::vector<Attribute> attributes; ///< in document order, names are unique
    std::wstring text; ///< empty in an element with children
    std::vector<XmlElement> children;

    /// The value, or null when there is no such attribute.
    const std::wstring* FindAttribute(std::wstring_view attributeName) const noexcept;

    /// The value; empty when there is no such attribute.
    std::wstring AttributeValue(std::wstring_view attributeName) const;

    /// The first child of that name, or null.
    const XmlElement* FirstChild(std::wstring_view childName) const noexcept;

    /// The text of the first child of that name; empty when there is none.
    std::wstring ChildText(std::wstring_view childName) const;

    /// For documents built in code. The reference lasts until the next child is added.
    XmlElement& AddChild(std::wstring childName);
    void SetAttribute(std::wstring_view attributeName, std::wstring value);
};

/// An XML document as a tree, and the name that its errors give it.
struct XmlDocument
{
    /// Elements nested deeper than this are refused.
    static constexpr std::size_t maxDepth = 1000;

    std::wstring name;
    XmlElement root;

    /// Reads the stream to its end. A template holds the elements, children and attributes that are allowed; null
    /// allows all. Every failure is a RuntimeError "<name>: <what>".
    static XmlDocument Read(
        std::istream& input, const std::wstring& documentName, const XmlElement* templateRoot = nullptr);
};

} // namespace qxm
