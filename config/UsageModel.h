#pragma once

#include "config/ServiceInfo.h"
#include "expr/Evaluator.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>

namespace qxm
{

/// A service's compiled usage formulas. Every error of compiling or evaluating one begins with its source name,
/// "<element> of service '<name>'". Built and destroyed by one thread at a time; everything else is const, changes
/// no reference count and may be called by several threads at once.
class UsageModel
{
public:
    /// Null for a service that lacks the processor or the memory formula. Throws the formulas' errors.
    static std::unique_ptr<const UsageModel> Build(const ServiceInfo& service);

    /// The attributes that the formulas need, with their types. A request that lacks one fails, unless it gives a value
    /// for the only helper that needs it.
    qexpr::ValueTypeMap NeededAttributes() const;

    /// The attributes that the formulas refer to, converted to the types they have there; others are left out. Throws
    /// for an attribute named ProcessorCount, which is never the caller's to give, and for a text that cannot be
    /// converted.
    qexpr::ValueMap Bind(const std::map<std::wstring, std::wstring>& attributes) const;

    /// The processors that a call is expected to keep busy when it may use processorCount of them. Changes the value of
    /// ProcessorCount in the inputs. Throws for a negative result.
    float ProcessorUsage(qexpr::ValueMap& inputs, std::uint64_t processorCount) const;

    /// How many processors a call is told to use, and what memory it then needs.
    struct ProcessorChoice
    {
        std::uint32_t numberOfProcessors = 0; ///< 0: the memory does not depend on it
        float memoryInMB = 0; ///< 0 when no processors are offered
    };

    /// The largest number of processors up to those offered with which the memory stays within the limit, else 1.
    /// Changes the value of ProcessorCount in the inputs. Throws for a negative result.
    ProcessorChoice ChooseProcessors(
        qexpr::ValueMap& inputs, std::uint32_t offeredProcessors, float memoryLimitInMB) const;

private:
    /// A formula and the name by which errors call it.
    struct Formula
    {
        std::wstring sourceName;
        qexpr::ExpressionPtr expression;
        bool usesProcessorCount = false;
    };

    explicit UsageModel(const ServiceInfo& service);
    Formula Compile(const std::wstring& text, std::wstring sourceName);

    /// Throws for a negative result, with the inputs in the text. The values may hold those of helpers too.
    float Evaluate(const Formula& formula, const qexpr::ValueMap& values, const qexpr::ValueMap& inputs) const;

    /// The action's result; its errors begin with the source name.
    template <class Action>
    static auto UnderName(const std::wstring& sourceName, Action action);

    qexpr::Evaluator m_evaluator;
    Formula m_processorUsage;
    Formula m_memoryUsage;
    qexpr::ValueTypeMap m_inputTypes;
};

} // namespace qxm
