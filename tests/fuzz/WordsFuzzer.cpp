// What stands in one line or one word: argument lines, host descriptions, versions, numbers.

#include "config/Arguments.h"
#include "config/HostDescription.h"
#include "runtime/text/TextValues.h"
#include "tests/fuzz/FuzzTarget.h"

namespace
{

using fuzz::Succeeds;

void ReadArguments(const std::wstring& text)
{
    qxm::Arguments arguments;
    if (!Succeeds([&] { arguments = qxm::Arguments::Parse(text); }))
        return;
    for (const std::wstring& word : arguments.PositionalArguments())
        fuzz::Require(!word.empty() && word.find(L'=') == std::wstring::npos, "a positional word has no '='");
    for (const auto& [name, value] : arguments.NamedArguments())
        fuzz::Require(!name.empty() && arguments.NamedOrEmpty(name) == value, "a named argument is found by its name");
    Succeeds([&] { arguments.Validate(1, 2, L"line", {L"A"}); });
}

void ReadValues(const std::wstring& text)
{
    Succeeds([&] { fuzz::Require(!qxm::Version::Parse(text, L"").ToText().empty(), "a version has a text"); });
    Succeeds([&] { qpr::ParseInt32(text, L"number"); });
    Succeeds([&] { qpr::ParseFloat(text, L"number"); });
    Succeeds([&] { qpr::ParseBool(text, L"flag"); });
    Succeeds([&] { qpr::ParseUInt32(text, L"number"); });
    Succeeds([&] { qpr::ParseUInt64(text, L"number"); });
    Succeeds([&] { fuzz::Require(qpr::ParsePercentage(text, L"share") >= 0, "a percentage is not negative"); });
    for (const auto kind : {qpr::UnitKind::Memory, qpr::UnitKind::Frequency, qpr::UnitKind::Bandwidth})
        Succeeds([&] { qpr::ParseQuantity(text, kind, L"quantity"); });
    Succeeds([&] { qpr::ParseQuotedText(text, L"text"); });
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::wstring text = fuzz::Text(data, size);
    ReadArguments(text);
    ReadValues(text);
    for (const wchar_t* role : {L"client", L"distributor"})
        Succeeds([&] { qxm::HostDescription::Read(text, role).Write(); });
    return 0;
}
