#pragma once

#include <cstdint>
#include <iosfwd>
#include <map>
#include <new>
#include <string>
#include <string_view>
#include <utility>

/// The expression language: small typed formulas over variables, which tell what a service call is expected to use.
namespace qexpr
{

/// A string value's text could not be copied.
class OutOfMemoryException : public std::bad_alloc
{
public:
    const char* what() const noexcept override { return "_strdup() failed"; }
};

/// What every formula computes with: a float, a wide string, a bool, or nothing yet. A value type: it owns its text.
class Value
{
public:
    enum Type : std::uint32_t
    {
        Type_Float,
        Type_String,
        Type_Bool,
        Type_Undefined,
    };

    Value() noexcept
        : m_type(Type_Undefined)
        , m_content{}
    {
    }
    explicit Value(float number) noexcept
        : m_type(Type_Float)
        , m_content{.number = number}
    {
    }
    explicit Value(bool flag) noexcept
        : m_type(Type_Bool)
        , m_content{.flag = flag}
    {
    }
    /// The text up to its first zero character. Throws OutOfMemoryException.
    explicit Value(const std::wstring& text)
        : Value(text.c_str())
    {
    }
    explicit Value(const wchar_t* text)
        : m_type(Type_String)
        , m_content{.text = Duplicate(text)}
    {
    }

    Value(const Value& other)
        : m_type(other.m_type)
        , m_content(other.m_content)
    {
        if (m_type == Type_String)
            m_content.text = Duplicate(other.m_content.text);
    }
    Value(Value&& other) noexcept
        : m_type(std::exchange(other.m_type, Type_Undefined))
        , m_content(other.m_content)
    {
    }
    Value& operator=(Value other) noexcept
    {
        std::swap(m_type, other.m_type);
        std::swap(m_content, other.m_content);
        return *this;
    }
    ~Value()
    {
        if (m_type == Type_String)
            delete[] m_content.text;
    }

    Type GetType() const noexcept { return m_type; }

    /// Each requires the matching type and throws std::logic_error otherwise: nothing is converted.
    explicit operator float() const
    {
        if (m_type != Type_Float)
            ThrowNoFloat();
        return m_content.number;
    }
    explicit operator bool() const
    {
        if (m_type != Type_Bool)
            ThrowNoBool();
        return m_content.flag;
    }
    explicit operator std::wstring() const { return std::wstring(Text()); }

    /// A string's text, without a copy; lives as long as the value. The same requirement.
    std::wstring_view Text() const;

    /// A value of the required type from a text; a string takes the text as it is. Throws qpr::RuntimeError for a text
    /// that is no such value; the description says there what the text stands for.
    static Value Parse(std::wstring_view text, Type requiredType, std::wstring_view description = {});

    /// As a constant of the language is written: 2.5, 'text', true; a string is not escaped.
    void Print(std::wostream& stream) const;

    /// "float", "string", "bool" and "undefined".
    static const wchar_t* TypeToString(Type type);

    /// The exact, case-sensitive inverse. Throws qpr::RuntimeError for any other text.
    static Type StringToType(std::wstring_view text);

private:
    static wchar_t* Duplicate(const wchar_t* text);
    [[noreturn]] static void ThrowNoFloat();
    [[noreturn]] static void ThrowNoBool();

    union Content
    {
        float number;
        wchar_t* text; // owned, zero-terminated
        bool flag;
    };

    Type m_type;
    Content m_content;
};

struct NameOrder
{
    using is_transparent = void;

    bool operator()(std::wstring_view a, std::wstring_view b) const noexcept { return a < b; }
};

/// Variables by name, in ordinal order of the names.
using ValueMap = std::map<std::wstring, Value, NameOrder>;
using ValueTypeMap = std::map<std::wstring, Value::Type, NameOrder>;

} // namespace qexpr
