#pragma once

#include "runtime/channels/IReader.h"
#include "runtime/channels/IWriter.h"
#include "runtime/processes/ProcessFigures.h"
#include "runtime/threads/Cancellation.h"
#include "runtime/threads/Wait.h"

#include <cstdint>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace qxd
{

/// How a servant has ended.
struct ServantOutcome
{
    bool isExitCodeKnown = false;
    std::uint32_t exitCode = 0; ///< signal n counts as 128 + n
    std::uint32_t signal = 0; ///< that ended it; 0 when it ended by itself
    qpr::ProcessFigures figures;
};

/// How the channels of a servant wait.
struct ServantWaits
{
    qpr::Wait output;
    const qpr::Cancellation& cancellation; ///< of its input, and of its end
};

/// A servant that executes one call. Destroying it ends what is left of the servant, wherever it runs. One thread uses
/// the input, another all else.
class IServant
{
public:
    virtual ~IServant() = default;

    /// To be called once, before input and output are used. What the waits watch outlives the servant.
    virtual void OpenChannels(const ServantWaits& waits) = 0;

    virtual qpr::IWriter& Input() = 0;
    virtual void CloseInput() = 0;
    virtual qpr::IReader& Output() = 0;
    virtual void CloseOutput() = 0;

    /// Signalled once the servant has ended.
    virtual qpr::WaitObject EndObject() const = 0;

    /// The number of the signal that ended it, or 0. Requires: it has ended.
    virtual std::uint32_t EndSignal() const = 0;

    /// Closes its channels and returns when the servant has ended and all of its log is written, by itself or, after a
    /// grace time, by force. Requires: nobody uses its input and output any more.
    virtual ServantOutcome End() = 0;
};

/// How servants come to be: as processes of this computer today; a batch system would be another way.
class IServantStarter
{
public:
    virtual ~IServantStarter() = default;

    /// Starts a servant with its command line. Its log goes to the stream, on a thread of the servant's, until it ends.
    /// The log outlives the servant. Any thread may call; throws what went wrong.
    virtual std::unique_ptr<IServant> Start(const std::vector<std::wstring>& commandLine, std::wostream& log) = 0;
};

} // namespace qxd
