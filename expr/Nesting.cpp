#include "expr/Nesting.h"

namespace qexpr
{

void ThrowTooDeep(const Lexer& lexer)
{
    lexer.ThrowError(L"Expression nested more than " + std::to_wstring(MaxNesting) + L" deep");
}

} // namespace qexpr
