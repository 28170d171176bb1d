#pragma once

#include "runtime/threads/IRunnable.h"
#include "runtime/threads/Thread.h"
#include "support/PipedChild.h"

#include <atomic>

namespace test
{

/// A clock that runs as fast as programs of idle priority, which servants are, get on: slower than the wall's while the
/// computer is busy with other things. Any thread may ask.
class LoadProbe final : private qpr::IRunnable
{
public:
    LoadProbe();

    std::uint64_t NowUs() const noexcept { return m_nowUs; }

private:
    void Run() override;
    void HandleError(const std::exception&) override { }

    PipedChild m_child;
    std::atomic<std::uint64_t> m_nowUs = 0;
    qpr::Thread m_thread; // last: starts when the rest is there, interrupted and joined first
};

} // namespace test
