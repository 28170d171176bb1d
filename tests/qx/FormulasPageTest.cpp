#include "ToolFixture.h"

#include "runtime/text/Utf8.h"

#include <algorithm>
#include <fstream>

namespace
{

/// The lines inside the page's fenced blocks of one language.
std::vector<std::string> BlocksOf(const std::string& language)
{
    std::ifstream page(std::filesystem::path(QX_DOCS_DIRECTORY) / "Formulas.md");
    std::vector<std::string> lines;
    bool inside = false;
    for (std::string line; std::getline(page, line);)
    {
        if (!inside && line == "```" + language)
            inside = true;
        else if (inside && line == "```")
            inside = false;
        else if (inside)
            lines.push_back(line);
    }
    return lines;
}

/// Words as a shell cuts them, with quotes of both kinds.
std::vector<std::wstring> ShellWords(const std::string& line)
{
    std::vector<std::wstring> words(1);
    wchar_t quote = 0;
    for (const wchar_t c : qpr::FromUtf8(line))
    {
        if (quote == 0 && c == L' ')
            words.emplace_back();
        else if (quote == 0 && (c == L'\'' || c == L'"'))
            quote = c;
        else if (c == quote)
            quote = 0;
        else
            words.back() += c;
    }
    return words;
}

} // namespace

class FormulasPage : public test::ToolFixture
{
};

TEST_F(FormulasPage, ShowsWhatItsCommandsPrint)
{
    std::string xml;
    for (const std::string& line : BlocksOf("xml"))
        xml += line + '\n';
    const std::wstring file = directory.Write("QxConfiguration.xml", xml);

    const std::string prompt = "$ qx ";
    std::string shown, printed;
    for (const std::string& line : BlocksOf("console"))
    {
        shown += line + '\n';
        if (!line.starts_with(prompt))
            continue;
        std::vector<std::wstring> arguments = ShellWords(line.substr(prompt.size()));
        std::ranges::replace(arguments, L"QxConfiguration.xml", file);
        const test::ProgramEnd end = RunBare(arguments);
        printed += line + '\n' + end.output + end.errors;
    }
    EXPECT_FALSE(shown.empty());
    EXPECT_EQ(printed, shown);
}
