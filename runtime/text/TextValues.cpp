#include "runtime/text/TextValues.h"

#include "runtime/text/Errors.h"
#include "runtime/text/WhiteSpace.h"

#include <algorithm>
#include <iterator>
#include <limits>
#include <locale>
#include <sstream>
#include <type_traits>

namespace qpr
{
namespace
{

constexpr std::wstring_view digits = L"0123456789";

/// The text that is being read and what it stands for: all that an error message needs.
struct Source
{
    std::wstring_view text;
    std::wstring_view description;

    [[noreturn]] void Fail(std::wstring_view message) const
    {
        std::wstring error = L"Invalid";
        if (!description.empty())
            error.append(L" ").append(description);
        error.append(L" string '").append(text).append(L"': ").append(message).append(L".");
        throw RuntimeError(error);
    }

    [[noreturn]] void FailAsNo(std::wstring_view typeName) const
    {
        const bool beginsWithVowel = std::wstring_view(L"aeiou").find(typeName.front()) != std::wstring_view::npos;
        Fail(std::wstring(beginsWithVowel ? L"value is not an " : L"value is not a ").append(typeName));
    }
};

/// The same names on every platform, so that logs can be compared between platforms.
template <class T>
constexpr std::wstring_view TypeName() noexcept
{
    if constexpr (std::is_same_v<T, float>)
        return L"float";
    else if constexpr (std::is_same_v<T, std::int32_t>)
        return L"int";
    else if constexpr (std::is_same_v<T, std::uint32_t>)
        return L"unsigned int";
    else
    {
        static_assert(std::is_same_v<T, std::uint64_t>);
        return L"unsigned __int64";
    }
}

bool IsDigit(wchar_t character) noexcept
{
    return character >= L'0' && character <= L'9';
}

std::wstring_view WithoutLeadingWhiteSpace(std::wstring_view text)
{
    const auto isAtSpace = [&] { return !text.empty() && IsWhiteSpace(text.front()); };
    while (isAtSpace())
        text.remove_prefix(1);
    return text;
}

/// Reads digits alone, which most numbers are, without a stream: creating one costs a hundred times as much.
template <class T>
bool ReadDigits(std::wstring_view text, T& value)
{
    if (text.empty() || text.size() > std::numeric_limits<T>::digits10)
        return false;
    std::uint64_t number = 0;
    for (const wchar_t character : text)
    {
        if (!IsDigit(character))
            return false;
        number = number * 10 + static_cast<std::uint64_t>(character - L'0');
    }
    value = static_cast<T>(number);
    return true;
}

/// Whether the text is one value and nothing else. White space is skipped here, because what a stream skips differs
/// between systems.
template <class T>
bool Read(std::wstring_view text, T& value)
{
    if constexpr (!std::is_same_v<T, bool>)
    {
        if (ReadDigits(text, value))
            return true;
    }
    std::wistringstream stream{std::wstring(WithoutLeadingWhiteSpace(text))};
    stream.imbue(std::locale::classic());
    stream >> std::noskipws >> std::boolalpha >> value;
    return !stream.fail() && stream.peek() == std::wistringstream::traits_type::eof();
}

template <class T>
T Plain(const Source& source, std::wstring_view number)
{
    T value{};
    if (!Read(number, value))
        source.FailAsNo(TypeName<T>());
    return value;
}

/// Whether the number is below 0: an unsigned read would take "-1" as the largest number.
bool IsNegativeInteger(std::wstring_view number)
{
    number = WithoutLeadingWhiteSpace(number);
    if (!number.starts_with(L'-'))
        return false;
    number.remove_prefix(1);
    return number.find_first_not_of(digits) == std::wstring_view::npos
        && number.find_first_not_of(L'0') != std::wstring_view::npos;
}

template <class T>
T NonNegative(const Source& source, std::wstring_view number)
{
    if (number.empty())
        source.Fail(L"no value given");
    if (IsNegativeInteger(number))
        source.Fail(L"value must be 0 or higher");
    return Plain<T>(source, number);
}

struct Unit
{
    std::wstring_view name;
    std::uint64_t multiplier;
};

struct UnitTable
{
    std::wstring_view kind;
    Unit units[4]; ///< in the order in which messages list them
};

constexpr std::uint64_t kilo = 1024;

const UnitTable& TableOf(UnitKind kind) noexcept
{
    static constexpr UnitTable tables[] = {
        {L"memory", {{L"B", 1}, {L"KB", kilo}, {L"MB", kilo * kilo}, {L"GB", kilo * kilo * kilo}}},
        {L"frequency", {{L"Hz", 1}, {L"KHz", kilo}, {L"MHz", kilo * kilo}, {L"GHz", kilo * kilo * kilo}}},
        {L"bandwidth", {{L"bps", 1}, {L"Kbps", kilo}, {L"Mbps", kilo * kilo}, {L"Gbps", kilo * kilo * kilo}}},
    };
    return tables[static_cast<std::size_t>(kind)];
}

std::wstring UnitList(const UnitTable& table)
{
    std::wstring list;
    for (const Unit& unit : table.units)
    {
        if (!list.empty())
            list += &unit == std::end(table.units) - 1 ? L" or " : L", ";
        list.append(L"'").append(unit.name).append(L"'");
    }
    return list;
}

std::uint64_t MultiplierOf(const Source& source, const UnitTable& table, std::wstring_view unit)
{
    if (unit.empty())
        source.Fail(std::wstring(L"missing ").append(table.kind) + L" unit (" + UnitList(table) + L")");
    for (const Unit& row : table.units)
    {
        if (row.name == unit)
            return row.multiplier;
    }
    source.Fail(std::wstring(L"invalid ").append(table.kind).append(L" unit '").append(unit) + L"', must be "
        + UnitList(table));
}

/// The length of the integer that the text begins with, including white space and a sign before it; 0 without one.
std::size_t IntegerLength(std::wstring_view text)
{
    std::wstring_view rest = WithoutLeadingWhiteSpace(text);
    if (rest.starts_with(L'+') || rest.starts_with(L'-'))
        rest.remove_prefix(1);
    const std::size_t digitCount = std::min(rest.find_first_not_of(digits), rest.size());
    return digitCount == 0 ? 0 : text.size() - rest.size() + digitCount;
}

/// The text without the characters at its end for which the predicate holds.
template <class Predicate>
std::wstring_view WithoutTail(std::wstring_view text, Predicate isTail)
{
    while (!text.empty() && isTail(text.back()))
        text.remove_suffix(1);
    return text;
}

} // namespace

std::int32_t ParseInt32(std::wstring_view text, std::wstring_view description)
{
    return Plain<std::int32_t>({text, description}, text);
}

float ParseFloat(std::wstring_view text, std::wstring_view description)
{
    return Plain<float>({text, description}, text);
}

bool ParseBool(std::wstring_view text, std::wstring_view description)
{
    bool value = false;
    if (!Read(text, value))
        Source{text, description}.Fail(L"value must be a boolean");
    return value;
}

std::uint32_t ParseUInt32(std::wstring_view text, std::wstring_view description)
{
    return NonNegative<std::uint32_t>({text, description}, text);
}

std::uint64_t ParseUInt64(std::wstring_view text, std::wstring_view description)
{
    return NonNegative<std::uint64_t>({text, description}, text);
}

float ParsePercentage(std::wstring_view text, std::wstring_view description)
{
    const Source source{text, description};
    // An integer must be followed by the sign and nothing else. Without an integer the number is the error, not the
    // sign.
    const std::size_t length = IntegerLength(text);
    const bool hasSign = length == 0 ? text.empty() || text.ends_with(L'%') : text.substr(length) == L"%";
    if (!hasSign)
        source.Fail(L"missing percentage sign");
    const std::wstring_view number = text.substr(0, text.size() - (text.empty() ? 0 : 1));
    return static_cast<float>(NonNegative<std::uint32_t>(source, number) * 0.01);
}

std::uint64_t ParseQuantity(std::wstring_view text, UnitKind kind, std::wstring_view description)
{
    const Source source{text, description};
    // The unit is what follows the last digit or blank, so that in "1.5 MB" the number is the error, not the unit.
    const std::wstring_view beforeUnit = WithoutTail(text, [](wchar_t c) { return !IsDigit(c) && !IsWhiteSpace(c); });
    const std::wstring_view unit = text.substr(beforeUnit.size());
    const std::wstring_view number = WithoutTail(beforeUnit, IsWhiteSpace);

    const auto value = NonNegative<std::uint64_t>(source, number);
    const std::uint64_t multiplier = MultiplierOf(source, TableOf(kind), unit);
    if (value > std::numeric_limits<std::uint64_t>::max() / multiplier)
        source.FailAsNo(TypeName<std::uint64_t>());
    return value * multiplier;
}

std::wstring ParseQuotedText(std::wstring_view text, std::wstring_view description)
{
    if (!text.starts_with(L'"'))
        return std::wstring(text);
    if (text.size() < 2 || !text.ends_with(L'"'))
        Source{text, description}.Fail(std::wstring(L"Unmatched \" in '").append(text) + L"'");
    return std::wstring(text.substr(1, text.size() - 2));
}

} // namespace qpr
