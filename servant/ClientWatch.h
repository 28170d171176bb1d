#pragma once

#include "runtime/threads/IRunnable.h"
#include "runtime/threads/Thread.h"

namespace qxservant
{

/// Ends the process when nobody is left to work for, even while it only computes: at once when the log channel has no
/// reader any more (the client has died), and a moment after the data channel has none (the client waits for the end).
class ClientWatch final : private qpr::IRunnable
{
public:
    ClientWatch()
        : m_thread(*this, "qx client watch")
    {
    }

private:
    void Run() override;
    void HandleError(const std::exception&) override { }

    qpr::Thread m_thread;
};

} // namespace qxservant
