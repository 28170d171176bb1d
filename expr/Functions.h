#pragma once

#include <string>

/// What the operators and functions of the language compute, all in single precision.
namespace qexpr::functions
{

float Add(float a, float b);
float Sub(float a, float b);
float Mul(float a, float b);
/// By the float rules: a division by zero is infinity or not a number, no error.
float Div(float a, float b);
float Pow(float a, float b);
/// The first argument wins a tie and any comparison with not a number.
float Min(float a, float b);
float Max(float a, float b);

float Neg(float a);
float Abs(float a);
float Sqrt(float a);

bool Or(bool a, bool b);
bool And(bool a, bool b);

/// Floats by the float rules, strings unit by unit.
template <class T>
bool Eq(T a, T b)
{
    return a == b;
}
template <class T>
bool Ne(T a, T b)
{
    return a != b;
}
template <class T>
bool Lt(T a, T b)
{
    return a < b;
}
template <class T>
bool Gt(T a, T b)
{
    return a > b;
}
template <class T>
bool Le(T a, T b)
{
    return a <= b;
}
template <class T>
bool Ge(T a, T b)
{
    return a >= b;
}

} // namespace qexpr::functions
