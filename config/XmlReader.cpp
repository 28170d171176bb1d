// The one source that sees Expat, whose characters are UTF-8 or, on Windows, wide ones; ToWide makes wide text of both.
// Exceptions do not cross Expat: a callback keeps its exception and stops the parser, and Run throws it.

#include "config/XmlReader.h"

#include "runtime/Errors.h"
#include "runtime/Utf8.h"
#include "runtime/WhiteSpace.h"

#include <expat.h>

#include <algorithm>
#include <exception>
#include <memory>
#include <string_view>
#include <type_traits>

namespace qxm
{

namespace
{

constexpr int bufferSize = 8192;

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
    void AddText(std::wstring_view text);
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
        throw qpr::RuntimeError(L"XML_ParserCreate() failed");
    XML_SetUserData(m_parser.get(), this);
    XML_SetElementHandler(m_parser.get(), OnStart, OnEnd);
    XML_SetCharacterDataHandler(m_parser.get(), OnText);
}

XmlElement XmlReader::Run(std::istream& input)
{
    bool isLast = false;
    while (!isLast)
    {
        void* buffer = XML_GetBuffer(m_parser.get(), bufferSize);
        if (!buffer)
            ThrowExpatError(L"XML_GetBuffer() failed");
        input.read(static_cast<char*>(buffer), bufferSize);
        if (input.bad())
            throw qpr::RuntimeError(L"Reading failed");
        const int size = static_cast<int>(input.gcount());
        isLast = size < bufferSize;
        if (XML_ParseBuffer(m_parser.get(), size, isLast) != XML_STATUS_OK)
        {
            if (m_failure)
                std::rethrow_exception(m_failure);
            ThrowExpatError(L"XML_ParseBuffer() failed");
        }
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

[[noreturn]] void ThrowMixing(const XmlElement& element)
{
    throw qpr::RuntimeError(L"Mixing of text and markup in <" + element.name + L"> not supported");
}

void XmlReader::StartElement(const XML_Char* name, const XML_Char** attributes)
{
    if (m_open.size() == XmlDocument::maxDepth)
        throw qpr::RuntimeError(L"Elements are nested more than " + std::to_wstring(XmlDocument::maxDepth) + L" deep");

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
        parent.text.clear();
        element = &parent.AddChild(ToWide(name));
    }
    for (; *attributes; attributes += 2)
        element->attributes.emplace_back(ToWide(attributes[0]), ToWide(attributes[1]));
    m_open.push_back(element);
}

void XmlReader::AddText(std::wstring_view text)
{
    XmlElement& element = *m_open.back();
    if (element.children.empty())
        element.text += text;
    else if (!IsAllWhiteSpace(text))
        ThrowMixing(element);
}

void XmlReader::ThrowExpatError(std::wstring_view what) const
{
    const XML_Error code = XML_GetErrorCode(m_parser.get());
    const XML_LChar* const message = XML_ErrorString(code);
    throw qpr::RuntimeError(std::wstring(what) + L", Expat error code = " + std::to_wstring(static_cast<int>(code))
        + L" (" + (message ? ToWide(message) : L"???") + L"), line "
        + std::to_wstring(XML_GetCurrentLineNumber(m_parser.get())) + L", column "
        + std::to_wstring(XML_GetCurrentColumnNumber(m_parser.get())));
}

} // namespace

XmlElement ReadXml(std::istream& input)
{
    return XmlReader().Run(input);
}

} // namespace qxm
