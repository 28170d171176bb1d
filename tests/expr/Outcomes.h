#pragma once

#include "expr/Value.h"
#include "runtime/Errors.h"

#include <exception>
#include <locale>
#include <sstream>
#include <string>

namespace test
{

/// What leaves the action as an error, as text.
std::wstring ErrorOf(auto action)
{
    try
    {
        action();
    }
    catch (const std::exception& error)
    {
        return qpr::ErrorText(error);
    }
    return L"no error";
}

inline std::wstring Printed(const qexpr::Value& value)
{
    std::wostringstream stream;
    stream.imbue(std::locale::classic());
    value.Print(stream);
    return stream.str();
}

} // namespace test
