#pragma once

#include "expr/Value.h"
#include "runtime/ReferenceCounted.h"

#include <algorithm>
#include <cstdint>
#include <iosfwd>
#include <string>

namespace qexpr
{

class ASTNode;
using NodePtr = qpr::CountedPtr<ASTNode>;

/// A node of a formula's tree. Nodes never change once built, except that a type which the parser left undefined is
/// fixed once; so a node may have several parents. Counts are plain: nodes are built and dropped under one lock, but
/// evaluating and printing change no count, so several threads may do both at once.
///
/// All operations recurse over the tree. Whoever builds trees bounds them by Depth(), as the parser does.
class ASTNode : public qpr::ReferenceCounted
{
public:
    virtual Value::Type GetValueType() const = 0;

    /// Throws std::logic_error where the type is already defined.
    virtual void SetDefinedValueType(Value::Type type) = 0;

    /// Throws qpr::RuntimeError for a variable that has no value, std::logic_error for one of another type.
    virtual Value Evaluate(const ValueMap& values) const = 0;

    /// Writes the canonical form, in which every operator is a function call: add(float A, mul(float B, 2)).
    virtual void Print(std::wostream& stream) const = 0;

    /// The canonical form as a text.
    std::wstring ToText() const;

    /// The number of nodes on the longest way down, this one included.
    std::uint32_t Depth() const noexcept { return m_depth; }

protected:
    explicit ASTNode(std::uint32_t depthOfChildren = 0) noexcept
        : m_depth(depthOfChildren + 1)
    {
    }

private:
    std::uint32_t m_depth;
};

} // namespace qexpr
