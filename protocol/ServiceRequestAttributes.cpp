#include "protocol/ServiceRequestAttributes.h"

#include "protocol/LineConversation.h"
#include "runtime/Errors.h"
#include "runtime/WhiteSpace.h"

#include <algorithm>
#include <vector>

namespace qxm
{
namespace
{

std::wstring CheckedWord(const std::wstring& text)
{
    const std::wstring word = Trim(text);
    const auto isUnfit = [](wchar_t character) { return qpr::IsWhiteSpace(character) || character == L'"'; };
    if (word.empty() || std::ranges::any_of(word, isUnfit))
        throw qpr::RuntimeError(L"Invalid service request attribute key or value '" + text + L"'");
    return word;
}

std::vector<std::wstring> SplitAtWhiteSpace(std::wstring_view text)
{
    std::vector<std::wstring> words;
    for (auto start = text.begin();;)
    {
        start = std::find_if_not(start, text.end(), qpr::IsWhiteSpace);
        if (start == text.end())
            return words;
        const auto end = std::find_if(start, text.end(), qpr::IsWhiteSpace);
        words.emplace_back(start, end);
        start = end;
    }
}

} // namespace

std::wstring SerialiseAttributes(const ServiceRequestAttributes& attributes)
{
    std::wstring text = std::to_wstring(attributes.size());
    for (const auto& [key, value] : attributes)
        text += L' ' + CheckedWord(key) + L' ' + CheckedWord(value);
    return text;
}

ServiceRequestAttributes ParseAttributes(std::wstring_view text)
{
    const std::vector<std::wstring> words = SplitAtWhiteSpace(text);
    const std::size_t count = words.size() / 2;
    if (words.size() % 2 == 0 || words.front() != std::to_wstring(count))
        throw qpr::RuntimeError(L"Invalid service request attributes '" + std::wstring(text) + L"'");
    ServiceRequestAttributes attributes;
    for (std::size_t index = 0; index < count; ++index)
        attributes[words[1 + 2 * index]] = words[2 + 2 * index];
    return attributes;
}

} // namespace qxm
