#pragma once

#include "expr/Value.h"

#include <string>

namespace qexpr
{

/// The language's type for a C++ type, and how diagnostic texts spell that type.
template <class T>
struct OperandType;

template <>
struct OperandType<float>
{
    static constexpr Value::Type Tag = Value::Type_Float;
    static constexpr const char* Spelling = "float";
    static constexpr const char* ParameterSpelling = "float";
};

template <>
struct OperandType<bool>
{
    static constexpr Value::Type Tag = Value::Type_Bool;
    static constexpr const char* Spelling = "bool";
    static constexpr const char* ParameterSpelling = "bool";
};

template <>
struct OperandType<std::wstring>
{
    static constexpr Value::Type Tag = Value::Type_String;
    static constexpr const char* Spelling =
        "class std::basic_string<wchar_t,struct std::char_traits<wchar_t>,class std::allocator<wchar_t> >";
    static constexpr const char* ParameterSpelling =
        "class std::basic_string<wchar_t,struct std::char_traits<wchar_t>,class std::allocator<wchar_t> > const &";
};

} // namespace qexpr
