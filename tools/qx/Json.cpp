#include "tools/qx/Json.h"

#include "runtime/text/Utf8.h"

#include <charconv>
#include <cmath>
#include <iostream>

namespace qx
{

Json ToJson(float number)
{
    if (std::isnan(number))
        return "nan";
    if (std::isinf(number))
        return number > 0 ? "inf" : "-inf";
    // By way of the float's own shortest digits: 0.1f as a double would print 0.10000000149011612.
    char digits[32];
    const auto end = std::to_chars(digits, digits + sizeof(digits), number).ptr;
    double value = 0;
    std::from_chars(digits, end, value);
    return value;
}

Json ToJson(std::uint64_t number)
{
    return number;
}

Json ToJson(std::wstring_view text)
{
    return qpr::ToUtf8(text);
}

void Print(const Json& document)
{
    std::cout << document.dump(2) << '\n';
}

} // namespace qx
