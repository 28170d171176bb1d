#include "config/Arguments.h"
#include "tests/fuzz/FuzzTarget.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    qxm::Arguments arguments;
    if (!fuzz::Succeeds([&] { arguments = qxm::Arguments::Parse(fuzz::Text(data, size)); }))
        return 0;
    for (const std::wstring& word : arguments.PositionalArguments())
        fuzz::Require(!word.empty() && word.find(L'=') == std::wstring::npos, "a positional word has no '='");
    for (const auto& [name, value] : arguments.NamedArguments())
        fuzz::Require(!name.empty() && arguments.NamedOrEmpty(name) == value, "a named argument is found by its name");
    fuzz::Succeeds([&] { arguments.Validate(1, 2, L"line", {L"A"}); });
    return 0;
}
