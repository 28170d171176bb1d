#pragma once

#include <exception>

namespace qpr
{

/// The body of a thread.
class IRunnable
{
public:
    virtual ~IRunnable() = default;

    virtual void Run() = 0;

    /// Called on the same thread with the exception that left Run; not for an interrupt. Must not throw.
    virtual void HandleError(const std::exception& error) = 0;
};

} // namespace qpr
