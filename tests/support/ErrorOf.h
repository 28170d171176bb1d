#pragma once

#include <exception>
#include <string>

namespace test
{

/// The text of the exception that the action ends with.
template <class Action>
std::string ErrorOf(Action action)
{
    try
    {
        action();
    }
    catch (const std::exception& error)
    {
        return error.what();
    }
    return "no error";
}

} // namespace test
