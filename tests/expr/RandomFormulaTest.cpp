#include "expr/Evaluator.h"

#include <cmath>
#include <gtest/gtest.h>
#include <random>

using namespace qexpr;

namespace
{

/// A formula made together with what it must be read as and what it must give, with only the parentheses that it needs.
struct Sample
{
    std::wstring text;
    int level; ///< of the operator that binds least, 7 for an operand, -1 for a conditional
    std::wstring canonical;
    float value;
};

struct Arithmetic
{
    const wchar_t* token;
    int level;
    const wchar_t* name;
    float (*compute)(float, float);
};

constexpr Arithmetic Operators[] = {
    {L"+", 4, L"add", [](float a, float b) { return a + b; }},
    {L"-", 4, L"sub", [](float a, float b) { return a - b; }},
    {L"*", 5, L"mul", [](float a, float b) { return a * b; }},
    {L"/", 5, L"div", [](float a, float b) { return a / b; }},
    {L"^", 6, L"pow", [](float a, float b) { return std::pow(a, b); }},
};

const ValueMap Inputs = {{L"A", Value(3.0F)}, {L"B", Value(-0.5F)}};

class Generator
{
public:
    explicit Generator(unsigned seed)
        : m_random(seed)
    {
    }

    Sample Make(int depth)
    {
        switch (depth == 0 ? Below(2) : Below(9))
        {
        case 0:
            return MakeNumber();
        case 1:
            return MakeVariable();
        case 2:
            return MakeNegative(Make(depth - 1));
        case 3:
            return MakeConditional(depth - 1);
        default:
            return MakeOperation(Operators[Below(std::size(Operators))], Make(depth - 1), Make(depth - 1));
        }
    }

private:
    std::size_t Below(std::size_t bound) { return m_random() % bound; }

    static std::wstring Closed(const Sample& sample, int level)
    {
        return sample.level < level ? L"(" + sample.text + L")" : sample.text;
    }

    Sample MakeNumber()
    {
        const auto number = Below(10);
        return {std::to_wstring(number), 7, std::to_wstring(number), static_cast<float>(number)};
    }

    Sample MakeVariable()
    {
        const std::wstring name = Below(2) == 0 ? L"A" : L"B";
        return {name, 7, L"float " + name, static_cast<float>(Inputs.at(name))};
    }

    static Sample MakeNegative(const Sample& operand)
    {
        // In parentheses, where a variable of a settled type may be used again.
        return {L"-(" + operand.text + L")", 7, L"neg(" + operand.canonical + L")", -operand.value};
    }

    Sample MakeConditional(int depth)
    {
        const Sample left = Make(depth), right = Make(depth), first = Make(depth), second = Make(depth);
        return {
            L"if (" + Closed(left, 4) + L" < " + Closed(right, 4) + L") then " + first.text + L" else " + second.text,
            -1,
            L"if_then_else(lt(" + left.canonical + L", " + right.canonical + L"), " + first.canonical + L", "
                + second.canonical + L")",
            left.value < right.value ? first.value : second.value};
    }

    static Sample MakeOperation(const Arithmetic& operation, const Sample& left, const Sample& right)
    {
        return {Closed(left, operation.level) + L" " + operation.token + L" " + Closed(right, operation.level + 1),
            operation.level, std::wstring(operation.name) + L"(" + left.canonical + L", " + right.canonical + L")",
            operation.compute(left.value, right.value)};
    }

    std::mt19937 m_random;
};

TEST(RandomFormula, IsReadAndComputedAsItWasMade)
{
    Generator generator(20);
    for (int i = 0; i < 3000; ++i)
    {
        const Sample sample = generator.Make(1 + i % 6);
        SCOPED_TRACE(sample.text);
        Evaluator evaluator;
        // Types are given beforehand, as an operator cannot give one to a conditional.
        evaluator.AddHelperVariableDefinitions(L"First = A + B;", L"helpers");
        const ExpressionPtr expression = evaluator.ParseExpression(sample.text, L"formula", Value::Type_Float);
        ASSERT_EQ(expression->ToText(), sample.canonical);
        const float value = static_cast<float>(evaluator.Evaluate(*expression, Inputs));
        ASSERT_TRUE(value == sample.value || (std::isnan(value) && std::isnan(sample.value)));
    }
}

} // namespace
