#include "expr/Value.h"
#include "tests/expr/Outcomes.h"

#include <gtest/gtest.h>

using qexpr::Value;
using test::ErrorOf;
using test::Printed;

namespace
{

TEST(Value, PrintsAsAConstantOfTheLanguage)
{
    EXPECT_EQ(Printed(Value(2.5F)), L"2.5");
    EXPECT_EQ(Printed(Value(1234567.0F)), L"1.23457e+06");
    EXPECT_EQ(Printed(Value(-0.0F)), L"-0");
    EXPECT_EQ(Printed(Value(L"it's")), L"'it's'");
    EXPECT_EQ(Printed(Value(true)), L"true");
    EXPECT_EQ(Printed(Value(false)), L"false");
    EXPECT_EQ(Printed(Value()), L"<undefined>");
}

TEST(Value, ConvertsToItsOwnTypeOnly)
{
    EXPECT_EQ(static_cast<float>(Value(2.5F)), 2.5F);
    EXPECT_EQ(static_cast<bool>(Value(true)), true);
    EXPECT_EQ(static_cast<std::wstring>(Value(L"text")), L"text");

    EXPECT_EQ(ErrorOf([] { static_cast<void>(static_cast<float>(Value(true))); }),
        L"qexpr::Value::operator float: Type mismatch");
    EXPECT_EQ(ErrorOf([] { static_cast<void>(static_cast<bool>(Value(1.0F))); }),
        L"qexpr::Value::operator bool: Type mismatch");
    EXPECT_EQ(ErrorOf([] { static_cast<void>(static_cast<std::wstring>(Value())); }),
        L"qexpr::Value::operator class std::basic_string<wchar_t,struct std::char_traits<wchar_t>,class "
        L"std::allocator<wchar_t> >: Type mismatch");
}

TEST(Value, CopiesOwnTheirText)
{
    Value first(L"first");
    Value second = first;
    first = Value(L"changed");
    EXPECT_EQ(Printed(second), L"'first'");
    const Value& itself = second;
    second = itself;
    EXPECT_EQ(Printed(second), L"'first'");
    const Value moved = std::move(second);
    EXPECT_EQ(Printed(moved), L"'first'");
    EXPECT_EQ(Printed(first = Value(2.0F)), L"2");
}

TEST(Value, ParsesTextsOfARequiredType)
{
    EXPECT_EQ(Printed(Value::Parse(L"1.5e3", Value::Type_Float)), L"1500");
    EXPECT_EQ(Printed(Value::Parse(L"-2", Value::Type_Float)), L"-2");
    EXPECT_EQ(Printed(Value::Parse(L" as it is ", Value::Type_String)), L"' as it is '");
    EXPECT_EQ(Printed(Value::Parse(L"true", Value::Type_Bool)), L"true");

    EXPECT_EQ(
        ErrorOf([] { Value::Parse(L"1.5x", Value::Type_Float); }), L"Invalid string '1.5x': value is not a float.");
    EXPECT_EQ(ErrorOf([] { Value::Parse(L"1", Value::Type_Bool); }), L"Invalid string '1': value must be a boolean.");
    EXPECT_EQ(ErrorOf([] { Value::Parse(L"1", Value::Type_Undefined); }),
        L"qexpr::Value::Parse: requiredType == Type_Undefined");
    EXPECT_EQ(
        ErrorOf([] { Value::Parse(L"1", static_cast<Value::Type>(4)); }), L"qexpr::Value::Parse: Invalid requiredType");
}

TEST(Value, TypeNamesAreExact)
{
    for (const auto type : {Value::Type_Float, Value::Type_String, Value::Type_Bool, Value::Type_Undefined})
        EXPECT_EQ(Value::StringToType(Value::TypeToString(type)), type);
    EXPECT_EQ(ErrorOf([] { Value::StringToType(L"Float"); }), L"Invalid type string 'Float'");
    EXPECT_EQ(
        ErrorOf([] { Value::TypeToString(static_cast<Value::Type>(4)); }), L"qexpr::Value::TypeToString: Invalid type");
}

} // namespace
