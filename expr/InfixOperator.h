#pragma once

#include "expr/BinaryOperation.h"

#include <string_view>

namespace qexpr
{

/// A binary operator of the language. The functions that are not null tell which operand types it takes.
struct InfixOperator
{
    std::wstring_view token;
    int level; ///< higher binds tighter
    const wchar_t* functionName;
    FloatPairFunction arithmetic;
    FloatRelation floatRelation;
    StringRelation stringRelation;
    BoolPairFunction logical;
};

/// The number of precedence levels; they count from 0.
inline constexpr int InfixOperatorLevels = 7;

/// Null when the token is no operator.
const InfixOperator* FindInfixOperator(std::wstring_view token);

} // namespace qexpr
