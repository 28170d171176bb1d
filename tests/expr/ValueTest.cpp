#include "expr/Value.h"
#include "tests/expr/Outcomes.h"

#include <gtest/gtest.h>

using qexpr::Value;
using test::ErrorOf;
using test::Printed;

namespace
{

constexpr auto NoType = static_cast<Value::Type>(4);

TEST(Value, PrintsAsAConstantOfTheLanguage)
{
    const std::pair<Value, const wchar_t*> cases[] = {
        {Value(2.5F), L"2.5"},
        {Value(1234567.0F), L"1.23457e+06"},
        {Value(-0.0F), L"-0"},
        {Value(L"it's"), L"'it's'"},
        {Value(false), L"false"},
        {Value(), L"<undefined>"},
        {Value::Parse(L"1.5e3", Value::Type_Float), L"1500"},
        {Value::Parse(L" as it is ", Value::Type_String), L"' as it is '"},
        {Value::Parse(L"true", Value::Type_Bool), L"true"},
    };
    for (const auto& [value, text] : cases)
        EXPECT_EQ(Printed(value), text);
}

TEST(Value, ConvertsToItsOwnTypeOnly)
{
    for (const auto type : {Value::Type_Float, Value::Type_String, Value::Type_Bool, Value::Type_Undefined})
        EXPECT_EQ(Value::StringToType(Value::TypeToString(type)), type);

    const std::pair<void (*)(), const char*> cases[] = {
        {[] { static_cast<void>(static_cast<float>(Value(true))); }, "qexpr::Value::operator float: Type mismatch"},
        {[] { static_cast<void>(static_cast<bool>(Value(1.0F))); }, "qexpr::Value::operator bool: Type mismatch"},
        {[] { static_cast<void>(static_cast<std::wstring>(Value())); },
            "qexpr::Value::operator class std::basic_string<wchar_t,struct std::char_traits<wchar_t>,class "
            "std::allocator<wchar_t> >: Type mismatch"},
        {[] { Value::Parse(L"1.5x", Value::Type_Float); }, "Invalid string '1.5x': value is not a float."},
        {[] { Value::Parse(L"1", Value::Type_Bool, L"A"); }, "Invalid A string '1': value must be a boolean."},
        {[] { Value::Parse(L"1", Value::Type_Undefined); }, "qexpr::Value::Parse: requiredType == Type_Undefined"},
        {[] { Value::Parse(L"1", NoType); }, "qexpr::Value::Parse: Invalid requiredType"},
        {[] { Value::StringToType(L"Float"); }, "Invalid type string 'Float'"},
        {[] { Value::TypeToString(NoType); }, "qexpr::Value::TypeToString: Invalid type"},
    };
    for (const auto& [action, error] : cases)
        EXPECT_EQ(ErrorOf(action), error);
}

TEST(Value, CopiesOwnTheirText)
{
    Value first(L"first");
    Value second = first;
    first = Value(L"changed");
    const Value& itself = second;
    second = itself;
    EXPECT_EQ(Printed(second), L"'first'");
    EXPECT_EQ(Printed(first = Value(2.0F)), L"2");
}

} // namespace
