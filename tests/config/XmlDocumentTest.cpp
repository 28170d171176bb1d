#include "config/XmlDocument.h"

#include "support/ErrorOf.h"

#include <gtest/gtest.h>

#include <sstream>

using qxm::XmlDocument;
using qxm::XmlElement;
using test::ErrorOf;

namespace
{

XmlElement ReadXml(const std::string& xml, const XmlElement* templateRoot = nullptr)
{
    std::istringstream input(xml);
    return XmlDocument::Read(input, L"doc", templateRoot).root;
}

/// name[attribute=value,...]'text'(child child)
std::wstring Dump(const XmlElement& element)
{
    std::wstring text = element.name;
    for (const qxm::XmlAttribute& attribute : element.attributes)
        text += L"[" + attribute.name + L"=" + attribute.value + L"]";
    if (!element.text.empty())
        text += L"'" + element.text + L"'";
    for (const XmlElement& child : element.children)
        text += L"(" + Dump(child) + L")";
    return text;
}

std::string Nested(std::size_t depth)
{
    std::string xml;
    for (std::size_t i = 0; i < depth; ++i)
        xml += "<a>";
    for (std::size_t i = 0; i < depth; ++i)
        xml += "</a>";
    return xml;
}

} // namespace

TEST(XmlDocument, BecomesATreeOfElementsAttributesAndText)
{
    using namespace std::string_literals;
    const std::pair<std::string, const wchar_t*> cases[] = {
        {"<a z='1' b='2'><c>text</c><d/><c> x &lt; <![CDATA[&]]> </c></a>", L"a[z=1][b=2](c'text')(d)(c' x < & ')"},
        {"<a>\n <b/>\t<!-- note -->\n</a>", L"a(b)"},
        {"<a> \n </a>", L"a' \n '"},
        {"<a b='\xC3\xA9\xF0\x9F\x98\x80'>\xE2\x82\xAC\xF0\x90\x80\x80</a>",
            L"a[b=\u00E9\U0001F600]'\u20AC\U00010000'"},
        {"<?xml version='1.0' encoding='ISO-8859-1'?><a>\xE9</a>", L"a'\u00E9'"},
        {"\xFE\xFF\0<\0a\0>\x20\xAC\xD8\x3D\xDE\x00\0<\0/\0a\0>"s, L"a'\u20AC\U0001F600'"},
        {"\xFF\xFE<\0a\0 \0b\0=\0'\0\xE9\0'\0/\0>\0"s, L"a[b=\u00E9]"},
        {"\xEF\xBB\xBF<a>\r\n</a>", L"a'\n'"},
        {"<!DOCTYPE a [<!ENTITY e 'v'>]><a>&e;</a>", L"a'v'"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(Dump(ReadXml(c.first)), c.second) << c.first;
}

TEST(XmlDocument, KnowsWhereItsPartsStand)
{
    const auto show = [](const qxm::XmlPosition& position)
    { return std::to_string(position.line) + ":" + std::to_string(position.column) + " "; };
    const std::string xml =
        "<?xml version='1.0'?>\r\n<!-- \xC3\xA9 --><r b='1>'\r\n  c = \"2 '\n\" \xC3\xA9='x'\td=''>\n"
        " \xC3\xA9<!-- -->x&lt;\n\ny<![CDATA[z]]></r>";
    for (const std::string& document : {xml, "\xEF\xBB\xBF" + xml})
    {
        const XmlElement root = ReadXml(document);
        std::string places = show(root.position);
        for (const qxm::XmlAttribute& attribute : root.attributes)
            places += show(attribute.position);
        for (std::size_t index = 0; index <= root.text.size(); ++index)
            places += show(root.PositionInText(index));
        // The text is line feed, blank, e, x, <, two line feeds, y, z.
        EXPECT_EQ(places, "2:11 2:14 3:3 4:3 4:9 4:14 5:1 5:2 5:11 5:12 5:16 6:1 7:1 7:11 7:12 ");
    }
    const XmlElement wide = ReadXml(std::string("\xFE\xFF\0<\0a\0>\0\n\0<\0b\0 \0c\0=\0'\0'\0/\0>\0<\0/\0a\0>", 36));
    EXPECT_EQ(show(wide.children[0].position) + show(wide.children[0].attributes[0].position), "2:1 2:1 ");
}

TEST(XmlDocument, TextSplitAnywhereByTheBufferStaysWhole)
{
    // The document may also end with the buffer.
    for (std::size_t padding = 8160; padding < 8200; ++padding)
        EXPECT_EQ(Dump(ReadXml("<a>" + std::string(padding, 'x') + "\xF0\x9F\x98\x80</a>")),
            L"a'" + std::wstring(padding, L'x') + L"\U0001F600'")
            << padding;
}

TEST(XmlDocument, ErrorsNameTheDocumentAndThePlace)
{
    const std::pair<const char*, const char*> cases[] = {
        {"", "doc: XML_ParseBuffer() failed, Expat error code = 3 (no element found), line 1, column 0"},
        {"no xml", "doc: XML_ParseBuffer() failed, Expat error code = 2 (syntax error), line 1, column 0"},
        {"<a>\n <b></a>", "doc: XML_ParseBuffer() failed, Expat error code = 7 (mismatched tag), line 2, column 6"},
        {"<a b='1' b='2'/>",
            "doc: XML_ParseBuffer() failed, Expat error code = 8 (duplicate attribute), line 1, column 9"},
        {"<a>\xFF</a>",
            "doc: XML_ParseBuffer() failed, Expat error code = 4 (not well-formed (invalid token)), line 1, column 3"},
        {"<a>abc<b/></a>", "doc: Mixing of text and markup in <a> not supported"},
        {"<r><a><b/> abc</a></r>", "doc: Mixing of text and markup in <a> not supported"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ErrorOf([&] { ReadXml(c.first); }), c.second) << c.first;
}

TEST(XmlDocument, IsBoundedInDepth)
{
    EXPECT_NO_THROW(ReadXml(Nested(XmlDocument::maxDepth)));
    EXPECT_EQ(ErrorOf([] { ReadXml(Nested(50000)); }), "doc: Elements are nested more than 1000 deep");
}

TEST(XmlDocument, RefusesEntitiesThatGrowWithoutBound)
{
    std::string xml = "<!DOCTYPE a [<!ENTITY e0 'lol'>";
    for (int i = 1; i < 12; ++i)
    {
        xml += "<!ENTITY e" + std::to_string(i) + " '";
        for (int n = 0; n < 10; ++n)
            xml += "&e" + std::to_string(i - 1) + ";";
        xml += "'>";
    }
    EXPECT_EQ(ErrorOf([&] { ReadXml(xml + "]><a>&e11;</a>"); }).substr(0, 57),
        "doc: XML_ParseBuffer() failed, Expat error code = 43 (lim");
}

TEST(XmlDocument, FailsWhenItsStreamDoes)
{
    std::istringstream input("<a/>");
    input.setstate(std::ios::badbit);
    EXPECT_EQ(ErrorOf([&] { XmlDocument::Read(input, L"doc"); }), "doc: Reading failed");
}

TEST(XmlDocument, IsHeldToATemplate)
{
    const XmlElement allowed = qxm::ReadTemplate("<r x=''><c><g y=''/></c></r>");
    EXPECT_NO_THROW(ReadXml("<r><c/><c><g y='1'/><g/></c></r>", &allowed));
    const std::pair<const char*, const char*> cases[] = {
        {"<q/>", "doc: Invalid element <q>, should be <r>"},
        {"<r x='1' y='2'/>", "doc: Invalid attribute 'y' in element <r>"},
        {"<r><g/></r>", "doc: Invalid child element <g> in element <r>"},
        {"<r><c/><c><g x='1'/></c></r>", "doc: Invalid attribute 'x' in element <g>"},
    };
    for (const auto& c : cases)
        EXPECT_EQ(ErrorOf([&] { ReadXml(c.first, &allowed); }), c.second) << c.first;
}
