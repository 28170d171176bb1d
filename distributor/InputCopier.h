#pragma once

#include "runtime/IRunnable.h"
#include "runtime/Socket.h"
#include "runtime/Thread.h"

namespace qxd
{

class IServant;

/// Copies a client's data into its servant's input on a thread of its own, and passes on its end. A servant that takes
/// no more is no error: the rest is dropped, so that the client is never held up. The destructor stops it wherever it
/// is.
class InputCopier final : private qpr::IRunnable
{
public:
    /// None is owned; all outlive the copier.
    InputCopier(qpr::Socket& client, IServant& servant, const qpr::Cancellation& cancellation);

private:
    void Run() override;
    void HandleError(const std::exception&) override { }

    qpr::SocketReader m_reader;
    IServant& m_servant; // not owned
    qpr::Thread m_thread; // last: starts when the rest is there, interrupted and joined first
};

} // namespace qxd
