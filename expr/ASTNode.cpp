#include "expr/ASTNode.h"

#include <locale>
#include <sstream>

namespace qexpr
{

std::wstring ASTNode::ToText() const
{
    std::wostringstream stream;
    stream.imbue(std::locale::classic());
    Print(stream);
    return stream.str();
}

} // namespace qexpr
