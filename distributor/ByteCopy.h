#pragma once

#include "runtime/channels/IReader.h"
#include "runtime/channels/IWriter.h"
#include "runtime/channels/Socket.h"
#include "runtime/threads/IRunnable.h"
#include "runtime/threads/Thread.h"

#include <string>

namespace qxd
{

struct CopyEnd
{
    enum Kind
    {
        Kind_EndOfData,
        Kind_SourceFailed,
        Kind_TargetFailed,
    };

    Kind kind;
    std::wstring error; ///< of the side that failed
};

/// Copies what comes, as it comes, until the end of the data or until one side fails; a cancelled wait
/// counts as that.
CopyEnd CopyBytes(qpr::IReader& source, qpr::IWriter& target);

/// Reads until the end of the data, or until the source fails, and drops what it reads.
void DiscardBytes(qpr::IReader& source);

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
