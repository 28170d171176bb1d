#pragma once

#include "runtime/Errors.h"

#include <exception>
#include <string>

namespace test
{

/// The text of what the function throws.
template <class Function>
std::wstring ErrorOf(Function function)
{
    try
    {
        function();
    }
    catch (const std::exception& error)
    {
        return qpr::ErrorText(error);
    }
    return L"<nothing thrown>";
}

} // namespace test
