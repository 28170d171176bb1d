#pragma once

#include "runtime/IRunnable.h"

#include <functional>
#include <string>
#include <utility>

namespace test
{

/// A thread's body from a function, keeping the text of the error that ended it.
class FunctionRunnable : public qpr::IRunnable
{
public:
    explicit FunctionRunnable(std::function<void()> body)
        : m_body(std::move(body))
    {
    }

    void Run() override { m_body(); }
    void HandleError(const std::exception& error) override { m_error = error.what(); }

    /// "" when there was none. Requires: the thread has ended.
    const std::string& Error() const noexcept { return m_error; }

private:
    std::function<void()> m_body;
    std::string m_error;
};

} // namespace test
