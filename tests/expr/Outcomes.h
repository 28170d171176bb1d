#pragma once

#include "expr/Value.h"
#include "support/ErrorOf.h"

#include <locale>
#include <sstream>
#include <string>

namespace test
{

inline constexpr qexpr::Value::Type Any = qexpr::Value::Type_Undefined;
inline constexpr qexpr::Value::Type Float = qexpr::Value::Type_Float;
inline constexpr qexpr::Value::Type Bool = qexpr::Value::Type_Bool;
inline constexpr qexpr::Value::Type String = qexpr::Value::Type_String;

inline std::wstring Printed(const qexpr::Value& value)
{
    std::wostringstream stream;
    stream.imbue(std::locale::classic());
    value.Print(stream);
    return stream.str();
}

} // namespace test
