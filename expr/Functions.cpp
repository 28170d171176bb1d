#include "expr/Functions.h"

#include <cmath>

namespace qexpr::functions
{

float Add(float a, float b)
{
    return a + b;
}

float Sub(float a, float b)
{
    return a - b;
}

float Mul(float a, float b)
{
    return a * b;
}

float Div(float a, float b)
{
    return a / b;
}

float Pow(float a, float b)
{
    return std::pow(a, b);
}

float Min(float a, float b)
{
    return a > b ? b : a;
}

float Max(float a, float b)
{
    return b > a ? b : a;
}

float Neg(float a)
{
    return -a;
}

float Abs(float a)
{
    return std::fabs(a);
}

float Sqrt(float a)
{
    return std::sqrt(a);
}

bool Or(bool a, bool b)
{
    return a || b;
}

bool And(bool a, bool b)
{
    return a && b;
}

} // namespace qexpr::functions
