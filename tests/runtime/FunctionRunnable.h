#pragma once

#include "runtime/threads/IRunnable.h"
#include "runtime/threads/Thread.h"

#include <functional>
#include <string>
#include <utility>

namespace test
{

/// A thread's body from a function, remembering how it ended: "", "interrupted" or the error's text.
class FunctionRunnable : public qpr::IRunnable
{
public:
    explicit FunctionRunnable(std::function<void()> body)
        : m_body(std::move(body))
    {
    }

    void Run() override
    {
        try
        {
            m_body();
        }
        catch (const qpr::InterruptException&)
        {
            m_outcome = "interrupted";
            throw;
        }
    }
    void HandleError(const std::exception& error) override { m_outcome = error.what(); }

    /// Requires: the thread has ended.
    const std::string& Outcome() const noexcept { return m_outcome; }

private:
    std::function<void()> m_body;
    std::string m_outcome;
};

} // namespace test
