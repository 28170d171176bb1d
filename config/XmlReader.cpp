// The one source that sees Expat, whose characters are UTF-8 or, on Windows, wide ones; ToWide makes wide text of both.
// Exceptions do not cross Expat: a callback keeps its exception and stops the parser, and Run throws it.

#include "config/XmlDocument.h"

#include "runtime/text/Utf8.h"
#include "runtime/text/WhiteSpace.h"

#include <expat.h>

#include <algorithm>
#include <exception>
#include <memory>
#include <string_view>
#include <type_traits>
#include <utility>

namespace qxm
{

namespace
{

/// Of either kind of Expat.
template <class Char>
std::wstring ToWide(std::basic_string_view<Char> text)
{
    if constexpr (std::is_same_v<Char, char>)
        return qpr::FromUtf8(text);
    else
        return std::wstring(text);
}

template <class Char>
std::wstring ToWide(const Char* text)
{
    return ToWide(std::basic_string_view<Char>(text));
}

bool IsAllWhiteSpace(std::wstring_view text)
{
    return std::ranges::all_of(text, qpr::IsWhiteSpace);
}

/// Where the attributes of a start tag begin, in their order; the tag's bytes are as they stand in a document whose
/// markup is ASCII. Expat has found the tag well formed.
std::vector<XmlPosition> AttributePositions(std::string_view tag, XmlPosition position)
{
    constexpr char noQuote = 0;
    std::vector<XmlPosition> positions;
    bool isInName = true; // of the element, then of an attribute
    char quote = noQuote;
    for (const char c : tag)
    {
        const bool isSpace = c == ' ' || c == '\t' || c == '\r' || c == '\n';
        if (quote != noQuote)
        {
            quote = c == quote ? noQuote : quote;
        }
        else if (c == '"' || c == '\'')
        {
            quote = c;
            isInName = false;
        }
        else if (!isInName && !isSpace && c != '/' && c != '>')
        {
            positions.push_back(position);
            isInName = true; // up to the value, so that blanks around "=" end nothing
        }
        else if (isSpace && positions.empty())
        {
            isInName = false;
        }
        const bool continuesCharacter = (static_cast<unsigned char>(c) & 0xC0) == 0x80;
        position = c == '\n' ? XmlPosition{position.line + 1, 1}
                             : XmlPosition{position.line, position.column + (continuesCharacter ? 0 : 1)};
    }
    return positions;
}

struct ParserDeleter
{
    void operator()(XML_Parser parser) const noexcept { XML_ParserFree(parser); }
};

class XmlReader
{
public:
    XmlReader();

    XmlElement Run(std::istream& input);

private:
    static XmlReader& From(void* userData) { return *static_cast<XmlReader*>(userData); }
    static void XMLCALL OnStart(void* userData, const XML_Char* name, const XML_Char** attributes);
    static void XMLCALL OnEnd(void* userData, const XML_Char* name);
    static void XMLCALL OnText(void* userData, const XML_Char* text, int length);

    template <class Handler>
    void Guarded(Handler handler) noexcept;

    void StartElement(const XML_Char* name, const XML_Char** attributes);
    void PlaceAttributes(XmlElement& element) const;
    void AddText(std::wstring_view text);
    XmlPosition CurrentPosition() const;
    [[noreturn]] void ThrowMixing(const XmlElement& element) const;
    [[noreturn]] void ThrowExpatError(std::wstring_view what) const;

    std::unique_ptr<std::remove_pointer_t<XML_Parser>, ParserDeleter> m_parser;
    XmlElement m_root;
    std::vector<XmlElement*> m_open; // the root down to the current element; only the last one's children grow
    std::exception_ptr m_failure;
};

XmlReader::XmlReader()
    : m_parser(XML_ParserCreate(nullptr))
{
    if (!m_parser)
        throw XmlError(L"XML_ParserCreate() failed", XmlPosition());
    XML_SetUserData(m_parser.get(), this);
    XML_SetElementHandler(m_parser.get(), OnStart, OnEnd);
    XML_SetCharacterDataHandler(m_parser.get(), OnText);
}

// Expat looks at an unfinished token from its beginning each time: a buffer that has ended none is followed by one
// twice as large, or an attribute of megabytes would take minutes.
XmlElement XmlReader::Run(std::istream& input)
{
    constexpr int firstSize = 8192;
    constexpr int largestSize = 1 << 26;
    int size = firstSize;
    XML_Index tokenBegin = -1;
    for (bool isLast = false; !isLast;)
    {
        void* const buffer = XML_GetBuffer(m_parser.get(), size);
        if (!buffer)
            ThrowExpatError(L"XML_GetBuffer() failed");
        input.read(static_cast<char*>(buffer), size);
        if (input.bad())
            throw XmlError(L"Reading failed", CurrentPosition());
        const int length = static_cast<int>(input.gcount());
        isLast = length < size;
        if (XML_ParseBuffer(m_parser.get(), length, isLast) != XML_STATUS_OK)
        {
            if (m_failure)
                std::rethrow_exception(m_failure);
            ThrowExpatError(L"XML_ParseBuffer() failed");
        }
        const XML_Index lastTokenBegin = std::exchange(tokenBegin, XML_GetCurrentByteIndex(m_parser.get()));
        size = tokenBegin == lastTokenBegin ? std::min(2 * size, largestSize) : firstSize;
    }
    return std::move(m_root);
}

void XmlReader::OnStart(void* userData, const XML_Char* name, const XML_Char** attributes)
{
    From(userData).Guarded([=](XmlReader& reader) { reader.StartElement(name, attributes); });
}

void XmlReader::OnEnd(void* userData, const XML_Char*)
{
    From(userData).Guarded([](XmlReader& reader) { reader.m_open.pop_back(); });
}

void XmlReader::OnText(void* userData, const XML_Char* text, int length)
{
    From(userData).Guarded([=](XmlReader& reader)
        { reader.AddText(ToWide(std::basic_string_view(text, static_cast<std::size_t>(length)))); });
}

/// A stopped parser may still report what it has begun; that is passed over.
template <class Handler>
void XmlReader::Guarded(Handler handler) noexcept
{
    if (m_failure)
        return;
    try
    {
        handler(*this);
    }
    catch (...)
    {
        m_failure = std::current_exception();
        XML_StopParser(m_parser.get(), XML_FALSE);
    }
}

void XmlReader::StartElement(const XML_Char* name, const XML_Char** attributes)
{
    const XmlPosition position = CurrentPosition();
    if (m_open.size() == XmlDocument::maxDepth)
        throw XmlError(L"Elements are nested more than " + std::to_wstring(XmlDocument::maxDepth) + L" deep", position);

    XmlElement* element = &m_root;
    if (m_open.empty())
    {
        element->name = ToWide(name);
    }
    else
    {
        XmlElement& parent = *m_open.back();
        if (!IsAllWhiteSpace(parent.text))
            ThrowMixing(parent);
        parent.ClearText();
        element = &parent.AddChild(ToWide(name));
    }
    element->position = position;
    for (; *attributes; attributes += 2)
        element->attributes.push_back({ToWide(attributes[0]), ToWide(attributes[1]), position});
    PlaceAttributes(*element);
    m_open.push_back(element);
}

void XmlReader::PlaceAttributes(XmlElement& element) const
{
    int offset = 0;
    int size = 0;
    const char* const buffer = XML_GetInputContext(m_parser.get(), &offset, &size);
    if (!buffer || element.attributes.empty())
        return;
    const auto begin = static_cast<std::size_t>(offset);
    const auto length = static_cast<std::size_t>(XML_GetCurrentByteCount(m_parser.get()));
    const std::vector<XmlPosition> positions = AttributePositions(
        std::string_view(buffer, static_cast<std::size_t>(size)).substr(begin, length), element.position);
    const auto written = static_cast<std::size_t>(XML_GetSpecifiedAttributeCount(m_parser.get()) / 2);
    for (std::size_t i = 0; i < written && positions.size() == written; ++i)
        element.attributes[i].position = positions[i];
}

void XmlReader::AddText(std::wstring_view text)
{
    XmlElement& element = *m_open.back();
    if (element.children.empty())
        element.AppendText(text, CurrentPosition());
    else if (!IsAllWhiteSpace(text))
        ThrowMixing(element);
}

XmlPosition XmlReader::CurrentPosition() const
{
    return {static_cast<std::size_t>(XML_GetCurrentLineNumber(m_parser.get())),
        static_cast<std::size_t>(XML_GetCurrentColumnNumber(m_parser.get())) + 1};
}

void XmlReader::ThrowMixing(const XmlElement& element) const
{
    throw XmlError(L"Mixing of text and markup in <" + element.name + L"> not supported", CurrentPosition());
}

/// Expat counts columns from 0, and so does the text.
void XmlReader::ThrowExpatError(std::wstring_view what) const
{
    const XML_Error code = XML_GetErrorCode(m_parser.get());
    const XML_LChar* const message = XML_ErrorString(code);
    const std::wstring reason = message ? ToWide(message) : L"???";
    const XmlPosition position = CurrentPosition();
    throw XmlError(std::wstring(what) + L", Expat error code = " + std::to_wstring(static_cast<int>(code)) + L" ("
            + reason + L"), line " + std::to_wstring(position.line) + L", column "
            + std::to_wstring(position.column - 1),
        reason, position);
}

} // namespace

XmlElement ReadXml(std::istream& input)
{
    return XmlReader().Run(input);
}

} // namespace qxm
