#pragma once

#include "expr/Value.h"
#include "support/ErrorOf.h"

#include <locale>
#include <sstream>
#include <string>

namespace test
{

inline std::wstring Printed(const qexpr::Value& value)
{
    std::wostringstream stream;
    stream.imbue(std::locale::classic());
    value.Print(stream);
    return stream.str();
}

} // namespace test
