#include "protocol/ServiceRequestAttributes.h"

#include "protocol/LineConversation.h"
#include "runtime/text/Errors.h"
#include "runtime/text/Utf8.h"
#include "runtime/text/WhiteSpace.h"

#include <algorithm>
#include <vector>

namespace qxm
{
namespace
{

std::wstring CheckedWord(const std::wstring& text)
{
    const std::wstring word = Trim(text);
    bool isFit = !word.empty() && std::ranges::none_of(word, qpr::IsWhiteSpace);
    for (std::size_t index = 0; index < word.size();)
    {
        const char32_t character = qpr::TakeCodePoint(word, index);
        isFit = isFit && qpr::IsCodePoint(character) && character != '"';
    }
    if (!isFit)
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

ServiceRequestAttributes CheckedAttributes(const ServiceRequestAttributes& attributes)
{
    ServiceRequestAttributes words;
    for (const auto& [key, value] : attributes)
        words[CheckedWord(key)] = CheckedWord(value);
    return words;
}

std::wstring SerialiseAttributes(const ServiceRequestAttributes& attributes)
{
    const ServiceRequestAttributes words = CheckedAttributes(attributes);
    std::wstring text = std::to_wstring(words.size());
    for (const auto& [key, value] : words)
        text += L' ' + key + L' ' + value;
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
