#include "expr/Value.h"

#include "runtime/text/Errors.h"
#include "runtime/text/TextValues.h"

#include <cwchar>
#include <iterator>
#include <ostream>
#include <stdexcept>

namespace qexpr
{

namespace
{

constexpr const wchar_t* TypeNames[] = {L"float", L"string", L"bool", L"undefined"};

}

std::wstring_view Value::Text() const
{
    if (m_type != Type_String)
        throw std::logic_error(
            "qexpr::Value::operator class std::basic_string<wchar_t,struct std::char_traits<wchar_t>,class "
            "std::allocator<wchar_t> >: Type mismatch");
    return m_content.text;
}

Value Value::Parse(std::wstring_view text, Type requiredType, std::wstring_view description)
{
    switch (requiredType)
    {
    case Type_Float:
        return Value(qpr::ParseFloat(text, description));
    case Type_String:
        return Value(std::wstring(text));
    case Type_Bool:
        return Value(qpr::ParseBool(text, description));
    case Type_Undefined:
        throw std::logic_error("qexpr::Value::Parse: requiredType == Type_Undefined");
    }
    throw std::logic_error("qexpr::Value::Parse: Invalid requiredType");
}

void Value::Print(std::wostream& stream) const
{
    switch (m_type)
    {
    case Type_Float:
        stream << m_content.number;
        return;
    case Type_String:
        stream << L'\'' << m_content.text << L'\'';
        return;
    case Type_Bool:
        stream << (m_content.flag ? L"true" : L"false");
        return;
    case Type_Undefined:
        stream << L"<undefined>";
        return;
    }
    throw std::logic_error("qexpr::Value::Print: Invalid m_type");
}

const wchar_t* Value::TypeToString(Type type)
{
    if (type >= std::size(TypeNames))
        throw std::logic_error("qexpr::Value::TypeToString: Invalid type");
    return TypeNames[type];
}

Value::Type Value::StringToType(std::wstring_view text)
{
    for (std::size_t i = 0; i < std::size(TypeNames); ++i)
        if (text == TypeNames[i])
            return static_cast<Type>(i);
    throw qpr::RuntimeError(L"Invalid type string '" + std::wstring(text) + L"'");
}

wchar_t* Value::Duplicate(const wchar_t* text)
{
    const std::size_t size = std::wcslen(text) + 1;
    wchar_t* const copy = new (std::nothrow) wchar_t[size];
    if (!copy)
        throw OutOfMemoryException();
    return std::wmemcpy(copy, text, size);
}

void Value::ThrowNoFloat()
{
    throw std::logic_error("qexpr::Value::operator float: Type mismatch");
}

void Value::ThrowNoBool()
{
    throw std::logic_error("qexpr::Value::operator bool: Type mismatch");
}

} // namespace qexpr
