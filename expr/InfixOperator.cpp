#include "expr/InfixOperator.h"

#include "expr/Functions.h"

namespace qexpr
{

namespace
{

using namespace functions;
using String = const std::wstring&;

constexpr InfixOperator Operators[] = {
    {L"+", 4, L"add", Add, nullptr, nullptr, nullptr},
    {L"-", 4, L"sub", Sub, nullptr, nullptr, nullptr},
    {L"*", 5, L"mul", Mul, nullptr, nullptr, nullptr},
    {L"/", 5, L"div", Div, nullptr, nullptr, nullptr},
    {L"^", 6, L"pow", Pow, nullptr, nullptr, nullptr},
    {L"<", 3, L"lt", nullptr, Lt<float>, Lt<String>, nullptr},
    {L">", 3, L"gt", nullptr, Gt<float>, Gt<String>, nullptr},
    {L"<=", 3, L"le", nullptr, Le<float>, Le<String>, nullptr},
    {L">=", 3, L"ge", nullptr, Ge<float>, Ge<String>, nullptr},
    {L"==", 2, L"eq", nullptr, Eq<float>, Eq<String>, nullptr},
    {L"!=", 2, L"ne", nullptr, Ne<float>, Ne<String>, nullptr},
    {L"and", 1, L"and", nullptr, nullptr, nullptr, And},
    {L"&&", 1, L"and", nullptr, nullptr, nullptr, And},
    {L"or", 0, L"or", nullptr, nullptr, nullptr, Or},
    {L"||", 0, L"or", nullptr, nullptr, nullptr, Or},
};

} // namespace

const InfixOperator* FindInfixOperator(std::wstring_view token)
{
    for (const InfixOperator& candidate : Operators)
        if (candidate.token == token)
            return &candidate;
    return nullptr;
}

} // namespace qexpr
