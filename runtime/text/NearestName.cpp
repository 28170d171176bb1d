#include "runtime/text/NearestName.h"

#include <algorithm>
#include <utility>
#include <vector>

namespace qpr
{

namespace
{

wchar_t Folded(wchar_t character)
{
    return character >= L'A' && character <= L'Z' ? static_cast<wchar_t>(character - L'A' + L'a') : character;
}

/// The number of mistakes between two names (optimal string alignment), row by row with the last two rows kept.
std::size_t Distance(const std::wstring& a, const std::wstring& b)
{
    std::vector<std::size_t> beforeLast(b.size() + 1);
    std::vector<std::size_t> last(b.size() + 1);
    std::vector<std::size_t> row(b.size() + 1);
    for (std::size_t j = 0; j <= b.size(); ++j)
        row[j] = j;
    for (std::size_t i = 1; i <= a.size(); ++i)
    {
        std::swap(beforeLast, last);
        std::swap(last, row);
        row[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j)
        {
            const bool same = Folded(a[i - 1]) == Folded(b[j - 1]);
            row[j] = std::min({last[j] + 1, row[j - 1] + 1, last[j - 1] + (same ? 0 : 1)});
            const bool swapped =
                i > 1 && j > 1 && Folded(a[i - 1]) == Folded(b[j - 2]) && Folded(a[i - 2]) == Folded(b[j - 1]);
            if (swapped)
                row[j] = std::min(row[j], beforeLast[j - 2] + 1);
        }
    }
    return row.back();
}

} // namespace

std::optional<std::wstring> NearestName(const std::wstring& given, std::span<const std::wstring> known)
{
    constexpr std::size_t longest = 256; // nobody mistypes longer names, and the work grows with the square
    if (given.size() > longest)
        return std::nullopt;
    const std::wstring* nearest = nullptr;
    std::size_t leastDistance = 0;
    for (const std::wstring& name : known)
    {
        if (name.size() > longest)
            continue;
        const std::size_t distance = Distance(given, name);
        const std::size_t allowed = (std::min(given.size(), name.size()) + 1) / 3;
        if (distance <= allowed && (!nearest || distance < leastDistance))
        {
            nearest = &name;
            leastDistance = distance;
        }
    }
    return nearest ? std::optional(*nearest) : std::nullopt;
}

} // namespace qpr
