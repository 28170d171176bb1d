#pragma once

#include "runtime/text/Errors.h"

#include <functional>
#include <istream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace qxm
{

/// Where something stands in a document; both count characters from 1. 0 is unknown, as in documents built in code.
struct XmlPosition
{
    std::size_t line = 0;
    std::size_t column = 0;

    /// The position just behind the text.
    XmlPosition Behind(std::wstring_view text) const noexcept;

    friend bool operator==(const XmlPosition&, const XmlPosition&) = default;
};

struct XmlAttribute
{
    std::wstring name;
    std::wstring value;
    XmlPosition position = {};
};

/// An element with attributes and either child elements or text.
struct XmlElement
{
    std::wstring name;
    XmlPosition position; ///< of its start tag
    std::vector<XmlAttribute> attributes; ///< in document order, names are unique
    std::wstring text; ///< empty in an element with children
    std::vector<XmlElement> children;

    /// Null when there is no such attribute.
    const XmlAttribute* FindAttribute(std::wstring_view attributeName) const noexcept;

    /// The value; empty when there is no such attribute.
    std::wstring AttributeValue(std::wstring_view attributeName) const;

    /// The position of the attribute, or of the element when there is no such attribute.
    XmlPosition PositionOf(std::wstring_view attributeName) const noexcept;

    /// The position of the text's character at the index, or of its end.
    XmlPosition PositionInText(std::size_t index) const noexcept;

    /// The first child of that name, or null.
    const XmlElement* FirstChild(std::wstring_view childName) const noexcept;

    /// The text of the first child of that name; empty when there is none.
    std::wstring ChildText(std::wstring_view childName) const;

    /// For readers: appends text that stands at the position.
    void AppendText(std::wstring_view more, XmlPosition at);
    void ClearText() noexcept;

    /// The same. The reference lasts until the next child is added.
    XmlElement& AddChild(std::wstring childName);

private:
    /// A part of the text that stands in the document unchanged, from the index to the next run. It ends at entities,
    /// comments and markup.
    struct TextRun
    {
        std::size_t index;
        XmlPosition position;
    };

    std::vector<TextRun> m_textRuns;
    XmlPosition m_textEnd; // where the last run would go on
};

/// What is wrong with a document, and where. The text names the document, the reason does not.
class XmlError : public qpr::RuntimeError
{
public:
    XmlError(const std::wstring& text, std::wstring reason, XmlPosition position)
        : qpr::RuntimeError(text)
        , m_reason(std::move(reason))
        , m_position(position)
    {
    }

    /// One whose text is the reason itself.
    XmlError(const std::wstring& text, XmlPosition position)
        : XmlError(text, text, position)
    {
    }

    const std::wstring& GetReason() const noexcept { return m_reason; }
    XmlPosition GetPosition() const noexcept { return m_position; }

private:
    std::wstring m_reason;
    XmlPosition m_position;
};

/// An element or attribute that a template does not hold.
struct XmlStranger
{
    const XmlElement& parent; ///< of the element, or which has the attribute
    const XmlElement& allowed; ///< what the template has for the parent
    bool isAttribute;
    std::wstring name;
    XmlPosition position;

    /// "Invalid attribute 'x' in element <y>", "Invalid child element <x> in element <y>".
    std::wstring ToText() const;
};

/// Calls visit for each stranger, in document order, and goes on with the next. What is in a strange element is not
/// looked at. The root elements are taken to have the same name.
void FindStrangers(
    const XmlElement& element, const XmlElement& allowed, const std::function<void(const XmlStranger&)>& visit);

/// Parses the stream to its end and returns the root element. Throws an XmlError that says what and where.
XmlElement ReadXml(std::istream& input);

/// The same for a template, which is a literal: its attributes and elements are those that are allowed, whatever their
/// values.
XmlElement ReadTemplate(const char* xml);

/// An XML document as a tree, and the name that its errors give it.
struct XmlDocument
{
    /// Elements nested deeper than this are refused.
    static constexpr std::size_t maxDepth = 1000;

    std::wstring name;
    XmlElement root;

    /// Reads the stream to its end. A template holds the elements, children and attributes that are allowed; null
    /// allows all. Every failure is an XmlError "<name>: <what>".
    static XmlDocument Read(
        std::istream& input, const std::wstring& documentName, const XmlElement* templateRoot = nullptr);
};

} // namespace qxm
