#include "expr/Parser.h"

#include "expr/FormulaVariables.h"
#include "expr/InfixExpressionContext.h"
#include "expr/Nodes.h"

#include <cmath>

namespace qexpr
{

namespace
{

/// A function in call syntax; the pointer that is not null tells the number of arguments.
struct Function
{
    const wchar_t* name;
    FloatFunction unary;
    FloatPairFunction binary;
};

constexpr Function Functions[] = {
    {L"sqrt", [](float a) { return std::sqrt(a); }, nullptr},
    {L"abs", [](float a) { return std::fabs(a); }, nullptr},
    // The first argument wins a tie and any comparison with not a number.
    {L"min", nullptr, [](float a, float b) { return a > b ? b : a; }},
    {L"max", nullptr, [](float a, float b) { return b > a ? b : a; }},
    {L"pow", nullptr, [](float a, float b) { return std::pow(a, b); }},
};

const Function* FindFunction(std::wstring_view word)
{
    for (const Function& function : Functions)
        if (word == function.name)
            return &function;
    return nullptr;
}

/// Counts one enclosing construct while it lives. Throws ParseError when there are too many.
class NestingLevel
{
public:
    NestingLevel(std::uint32_t& count, const Lexer& lexer)
        : m_count(count)
    {
        if (m_count == MaxNesting)
            ThrowTooDeep(lexer);
        ++m_count;
    }
    NestingLevel(const NestingLevel&) = delete;
    NestingLevel& operator=(const NestingLevel&) = delete;
    ~NestingLevel() { --m_count; }

private:
    std::uint32_t& m_count;
};

bool IsTypeHint(std::wstring_view word)
{
    return word == L"float" || word == L"string" || word == L"bool";
}

/// The grammar of one formula, by recursive descent that MaxNesting bounds. Errors are ParseError at the current token,
/// and std::logic_error where a type is asked of a conditional that has none.
class ExpressionParser
{
public:
    /// Both outlive this.
    ExpressionParser(Lexer& lexer, FormulaVariables& variables)
        : m_lexer(lexer)
        , m_variables(variables)
    {
    }

    /// An expression of the type (undefined: of any) up to and with the terminator, or to the end of the text when that
    /// is empty.
    NodePtr ParseExpression(Value::Type type, std::wstring_view terminator)
    {
        return ParseExpression(type, terminator, Value::Type_Undefined);
    }

private:
    NodePtr ParseExpression(Value::Type type, std::wstring_view terminator, Value::Type firstOperandType);
    NodePtr ParseConditional(Value::Type type, std::wstring_view terminator);
    NodePtr ParseInfixExpression(Value::Type type, std::wstring_view terminator, Value::Type firstOperandType);
    NodePtr ParseOperand(Value::Type type);
    NodePtr ParseSymbol(Value::Type type);
    NodePtr ParseSign(Value::Type type);
    NodePtr ParseWord(Value::Type type);
    NodePtr ParseTypeHint(Value::Type type);
    NodePtr ParseFunctionCall();
    NodePtr ParseArgument(std::wstring_view terminator);
    void RequireAllowed(Value::Type operandType, Value::Type type) const;

    Lexer& m_lexer;
    FormulaVariables& m_variables;
    std::uint32_t m_nesting = 0;
};

NodePtr ExpressionParser::ParseExpression(Value::Type type, std::wstring_view terminator, Value::Type firstOperandType)
{
    if (!m_lexer.ReadToken())
        m_lexer.ThrowError(L"Missing token");
    if (m_lexer.Current().text == L"if")
        return ParseConditional(type, terminator);
    m_lexer.PushBack();
    return ParseInfixExpression(type, terminator, firstOperandType);
}

NodePtr ExpressionParser::ParseConditional(Value::Type type, std::wstring_view terminator)
{
    const NestingLevel level(m_nesting, m_lexer);
    NodePtr condition = ParseExpression(Value::Type_Bool, L"then");
    NodePtr thenNode = ParseExpression(type, L"else");
    NodePtr elseNode = ParseExpression(thenNode->GetValueType(), terminator);
    if (thenNode->GetValueType() == Value::Type_Undefined && elseNode->GetValueType() != Value::Type_Undefined)
        thenNode->SetDefinedValueType(elseNode->GetValueType());
    return BoundedNode(
        qpr::MakeCounted<IfThenElse>(std::move(condition), std::move(thenNode), std::move(elseNode)), m_lexer);
}

NodePtr ExpressionParser::ParseInfixExpression(
    Value::Type type, std::wstring_view terminator, Value::Type firstOperandType)
{
    InfixExpressionContext context(m_lexer);
    context.PushOperand(ParseOperand(firstOperandType));
    for (;;)
    {
        const bool anyToken = m_lexer.ReadToken();
        if (m_lexer.Current().text == terminator) // at the end of the text both may be empty
            return context.GetExpression(type);
        const InfixOperator* const infixOperator = anyToken ? FindInfixOperator(m_lexer.Current().text) : nullptr;
        if (!infixOperator)
            m_lexer.ThrowExpected(terminator.empty() ? L"end of input" : terminator);
        context.PushOperator(*infixOperator);
        context.PushOperand(ParseOperand(Value::Type_Undefined));
    }
}

NodePtr ExpressionParser::ParseOperand(Value::Type type)
{
    if (!m_lexer.ReadToken())
        m_lexer.ThrowError(L"Missing token");
    const Token& token = m_lexer.Current();
    switch (token.kind)
    {
    case TokenKind::Number:
        RequireAllowed(Value::Type_Float, type);
        return qpr::MakeCounted<Constant>(Value(token.number));
    case TokenKind::String:
        RequireAllowed(Value::Type_String, type);
        return qpr::MakeCounted<Constant>(Value(std::wstring(token.string)));
    case TokenKind::Word:
        return IsVariableName(token.text) ? m_variables.Use(type) : ParseWord(type);
    default:
        return ParseSymbol(type);
    }
}

NodePtr ExpressionParser::ParseSymbol(Value::Type type)
{
    const wchar_t symbol = m_lexer.Current().text.front();
    if (symbol == L'+' || symbol == L'-')
        return ParseSign(type);
    if (symbol != L'(')
        m_lexer.ThrowInvalidToken();
    const NestingLevel level(m_nesting, m_lexer);
    return ParseExpression(type, L")");
}

NodePtr ExpressionParser::ParseSign(Value::Type type)
{
    RequireAllowed(Value::Type_Float, type);
    const NestingLevel level(m_nesting, m_lexer);
    const bool negative = m_lexer.Current().text == L"-";
    NodePtr operand = ParseOperand(Value::Type_Float);
    if (!negative)
        return operand;
    constexpr FloatFunction negate = [](float a) { return -a; };
    return BoundedNode(qpr::MakeCounted<FloatOperation>(L"neg", negate, std::move(operand)), m_lexer);
}

NodePtr ExpressionParser::ParseWord(Value::Type type)
{
    const std::wstring_view word = m_lexer.Current().text;
    if (word == L"true" || word == L"false")
    {
        RequireAllowed(Value::Type_Bool, type);
        return qpr::MakeCounted<Constant>(Value(word == L"true"));
    }
    return IsTypeHint(word) ? ParseTypeHint(type) : ParseFunctionCall();
}

NodePtr ExpressionParser::ParseTypeHint(Value::Type type)
{
    if (type != Value::Type_Undefined)
        m_lexer.ThrowError(L"Redundant type hint");
    return ParseOperand(Value::StringToType(m_lexer.Current().text));
}

NodePtr ExpressionParser::ParseFunctionCall()
{
    const Function* const function = FindFunction(m_lexer.Current().text);
    if (!function)
        m_lexer.ThrowInvalidToken();
    const NestingLevel level(m_nesting, m_lexer);
    m_lexer.ExpectSymbol(L'(');
    NodePtr arg0 = ParseArgument(function->binary ? L"," : L")");
    if (function->unary)
        return BoundedNode(qpr::MakeCounted<FloatOperation>(function->name, function->unary, std::move(arg0)), m_lexer);
    NodePtr arg1 = ParseArgument(L")");
    return BoundedNode(
        qpr::MakeCounted<ArithmeticOperation>(function->name, function->binary, std::move(arg0), std::move(arg1)),
        m_lexer);
}

NodePtr ExpressionParser::ParseArgument(std::wstring_view terminator)
{
    return ParseExpression(Value::Type_Float, terminator, Value::Type_Float);
}

void ExpressionParser::RequireAllowed(Value::Type operandType, Value::Type type) const
{
    if (type != Value::Type_Undefined && type != operandType)
        m_lexer.ThrowExpected(std::wstring(Value::TypeToString(type)) + L" expression");
}

} // namespace

ExpressionPtr Parser::ParseFormula(
    Value::Type requiredType, std::wstring_view terminator, std::wstring_view definedName)
{
    FormulaVariables variables(m_lexer, m_knownVariableTypes, definedName);
    NodePtr root = ExpressionParser(m_lexer, variables).ParseExpression(requiredType, terminator);
    if (root->GetValueType() == Value::Type_Undefined)
        m_lexer.ThrowError(L"Could not determine type of expression");
    variables.MakeKnown(*root);
    return qpr::MakeCounted<Expression>(std::move(root), variables.Take());
}

void Parser::ParseHelperDefinitions(HelperDefinitions& definitions)
{
    while (m_lexer.ReadToken())
        ParseHelperDefinition(definitions);
}

void Parser::ParseHelperDefinition(HelperDefinitions& definitions)
{
    if (!IsVariableName(m_lexer.Current().text))
        m_lexer.ThrowExpected(L"variable name");
    std::wstring name(m_lexer.Current().text);
    m_lexer.ExpectSymbol(L'=');
    if (definitions.contains(name))
        m_lexer.ThrowError(L"Variable '" + name + L"' already defined");
    if (m_knownVariableTypes.contains(name))
        m_lexer.ThrowError(L"Variable '" + name + L"' used before being defined");
    ExpressionPtr definition = ParseFormula(Value::Type_Undefined, L";", name);
    const Value::Type type = definition->GetValueType();
    definitions.emplace(name, std::move(definition));
    m_knownVariableTypes.insert_or_assign(std::move(name), type);
}

} // namespace qexpr
