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
        , m_text(nullptr)
    {
    }
    explicit Value(float number) noexcept
        : m_type(Type_Float)
        , m_float(number)
    {
    }
    explicit Value(bool flag) noexcept
        : m_type(Type_Bool)
        , m_bool(flag)
    {
    }
    /// The text up to its first zero character. Throws OutOfMemoryException.
    explicit Value(const std::wstring& text);
    explicit Value(const wchar_t* text);

    Value(const Value& other)
        : m_type(other.m_type)
        , m_text(other.m_text)
    {
        if (m_type == Type_String)
            m_text = Duplicate(other.m_text);
    }
    Value(Value&& other) noexcept
        : m_type(std::exchange(other.m_type, Type_Undefined))
        , m_text(std::exchange(other.m_text, nullptr))
    {
    }
    Value& operator=(Value other) noexcept
    {
        std::swap(m_type, other.m_type);
        std::swap(m_text, other.m_text);
        return *this;
    }
    ~Value()
    {
        if (m_type == Type_String)
            delete[] m_text;
    }

    Type GetType() const noexcept { return m_type; }

    /// Each requires the matching type and throws std::logic_error otherwise: nothing is converted.
    explicit operator float() const
    {
        if (m_type != Type_Float)
            ThrowNoFloat();
        return m_float;
    }
    explicit operator bool() const
    {
        if (m_type != Type_Bool)
            ThrowNoBool();
        return m_bool;
    }
    explicit operator std::wstring() const;

    /// A value of the required type from a text; a string takes the text as it is. Throws qpr::RuntimeError for a text
    /// that is no such value.
    static Value Parse(std::wstring_view text, Type requiredType);

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

    Type m_type;
    union
    {
        float m_float;
        wchar_t* m_text; // owned, zero-terminated
        bool m_bool;
    };
};

/// Variables by name, in ordinal order of the names.
using ValueMap = std::map<std::wstring, Value>;
using ValueTypeMap = std::map<std::wstring, Value::Type>;

} // namespace qexpr
