#pragma once

#include "runtime/channels/IReader.h"
#include "runtime/channels/IWriter.h"
#include "runtime/threads/NativeHandle.h"
#include "runtime/threads/ThreadEvent.h"
#include "runtime/threads/Wait.h"

#include <optional>

namespace qpr
{

/// One end of a pipe, owned. Moves, does not copy; the destructor closes.
class PipeEnd
{
public:
    PipeEnd() noexcept = default;
    explicit PipeEnd(NativeHandle handle) noexcept
        : m_handle(handle)
    {
    }

    /// Throws "CloseHandle() failed", also when the end is not open.
    void Close();
    bool IsOpen() const noexcept { return m_handle.IsValid(); }
    NativeHandle Handle() const noexcept { return m_handle.Get(); }

private:
    SystemHandle<"qpr::PipeEnd::~PipeEnd"> m_handle;
};

/// A one-way pipe: what is written to the client end is read from the server end. A program that is started gets
/// neither end unless it is given one (for an exception on Windows see ProcessStart); a fork that does not exec keeps
/// both.
struct PipePair
{
    /// Who uses an end. Reads and writes at our end can be interrupted; a child expects a plain end.
    enum class End
    {
        Ours,
        Child,
    };

    PipePair(End serverEnd, End clientEnd);

    static PipePair ToChild() { return {End::Child, End::Ours}; }
    static PipePair FromChild() { return {End::Ours, End::Child}; }

    PipeEnd server; ///< reads
    PipeEnd client; ///< writes
};

/// Reads from a handle, which outlives the reader, as does what its wait watches.
class IOReader : public IReader
{
public:
    explicit IOReader(NativeHandle handle, Wait wait = {});

    std::size_t Read(void* buffer, std::size_t size) override;

protected:
    void CheckWait() const { m_wait.Check(); }

    NativeHandle m_handle; // not owned

private:
    const Wait m_wait;
    std::optional<ThreadEvent> m_ended; ///< the end of an operation, on a system where operations have one
};

/// Reads the server end of a pipe.
class PipeReader final : public IOReader
{
public:
    using IOReader::IOReader;

    /// Any thread may ask. Also true when the writer has gone, so that the caller reads and finds the end of the data.
    bool InputPending() override;

    /// How many bytes are there now. Any thread may ask.
    std::size_t Available() const noexcept;
};

/// Writes to the client end of a pipe; a write to a full pipe can be interrupted and cancelled. Nobody knows then what
/// the peer has received: the channel counts as broken. One thread writes at a time.
class IOWriter final : public IWriter
{
public:
    explicit IOWriter(NativeHandle handle, Wait wait = {});

    void Write(const void* buffer, std::size_t size) override;
    void Flush() override { }

private:
    NativeHandle m_handle; // not owned
    const Wait m_wait;
    std::optional<ThreadEvent> m_ended; ///< as in IOReader
};

} // namespace qpr
