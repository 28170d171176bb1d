#pragma once

#include "runtime/processes/ProcessFigures.h"
#include "runtime/threads/NativeHandle.h"
#include "runtime/threads/Thread.h"
#include "runtime/threads/WaitObject.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace qpr
{

/// What to start and how. The three handles are given to the child as its standard streams; they stay the caller's. On
/// Windows a process that the application itself starts at that moment, with inherited handles but without a list of
/// them, gets them too.
struct ProcessStart
{
    std::wstring executablePath; ///< as the system takes it; a bare name is searched for when searchPath is set
    std::vector<std::wstring> arguments; ///< all of them, the executable's name first
    std::wstring workingDirectory; ///< empty: this process's own
    std::map<std::wstring, std::wstring> environment; ///< added to this process's; an empty value removes the variable
    bool searchPath = false;
    NativeHandle standardInput;
    NativeHandle standardOutput;
    NativeHandle standardError;

    /// Whether a text contains a zero character. It would reach the child cut short, so the start is refused.
    bool HasZeroCharacter() const noexcept;
};

/// The scale of a process's priority, as its numbers stand in the interface.
enum class PriorityLevel
{
    High = 0,
    Normal = 1,
    BelowNormal = 2,
    Idle = 3,
};

/// A process that this one started, with everything that it starts in turn (its process group or job). The object is
/// used by one thread at a time.
class ChildProcess
{
public:
    /// Starts the process. Throws "CreateProcess('<path>') failed" in "qpr::ChildProcess::ChildProcess", and on Linux
    /// "pidfd_open() failed" there when the system refuses that.
    explicit ChildProcess(const ProcessStart& start);

    /// Ends the process and its group at once if they still run.
    ~ChildProcess();

    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    std::uint32_t ProcessId() const noexcept;

    /// A refusal by the system is ignored. On Linux it holds for the process's first thread and for what that starts
    /// from then on; call it right after the start.
    void SetPriorityLevel(PriorityLevel level) noexcept;

    /// Signalled once the process has ended.
    WaitObject EndObject() const noexcept;

    /// Interruptible.
    void WaitForCompletion();

    /// Records, for the figures, the most memory that the process has had so far. Call it shortly before the process
    /// ends: afterwards the system does not always know.
    void NotePeakMemory() noexcept;

    /// Ends the process and all that is left of its group, and waits for the process itself. Does nothing after it has
    /// been collected.
    void Terminate() noexcept;

    struct ExitStatus
    {
        bool isKnown = false; ///< false when the application ignores or collects its children
        std::uint32_t exitCode = 0; ///< signal n counts as 128 + n
        std::uint32_t signal = 0; ///< that ended it; 0 when it ended by itself
    };

    /// The ended process's exit code, which stays to be collected. Throws std::logic_error when it has not ended.
    /// Another thread may call it as long as none collects.
    ExitStatus PeekExitStatus() const;

    /// Takes the ended process's exit code and figures; from then on its id may belong to another. Throws
    /// std::logic_error when it has not ended.
    ExitStatus CollectExitStatus();

    /// The figures of the ended process. Requires: CollectExitStatus has been called.
    const ProcessFigures& Figures() const noexcept;

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace qpr
