#pragma once

#include "runtime/channels/IReader.h"
#include "runtime/channels/IWriter.h"
#include "runtime/threads/NativeHandle.h"
#include "runtime/threads/Wait.h"

#include <memory>
#include <utility>

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
    PipeEnd(PipeEnd&& other) noexcept
        : m_handle(std::exchange(other.m_handle, {}))
    {
    }
    PipeEnd& operator=(PipeEnd&& other) noexcept
    {
        PipeEnd taken(std::move(other));
        std::swap(m_handle, taken.m_handle);
        return *this;
    }
    ~PipeEnd();

    /// Throws "CloseHandle() failed".
    void Close();
    bool IsOpen() const noexcept { return m_handle.IsValid(); }
    NativeHandle Handle() const noexcept { return m_handle; }

private:
    NativeHandle m_handle;
};

/// A one-way pipe: what is written to the client end is read from the server end. Neither end is passed on to programs
/// that are started without it, but for what ProcessStart says of Windows; a fork that does not exec keeps both.
struct PipePair
{
    /// Whose an end is. Reads and writes of our own can be interrupted; a child expects a plain one.
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

/// Reads from a handle. Not owned: the handle outlives the reader, and so does what its wait watches.
class IOReader : public IReader
{
public:
    explicit IOReader(NativeHandle handle, Wait wait = {});
    ~IOReader() override;

    std::size_t Read(void* buffer, std::size_t size) override;

protected:
    void CheckWait() const { m_wait.Check(); }

    NativeHandle m_handle;

private:
    struct Overlapped;
    const Wait m_wait;
    std::unique_ptr<Overlapped> m_overlapped;
};

/// Reads the server end of a pipe.
class PipeReader final : public IOReader
{
public:
    using IOReader::IOReader;

    /// Any thread may ask. True too when the writer has gone, so that the caller reads and meets the end of the data.
    bool InputPending() override;

    /// How many bytes are there now. Any thread may ask.
    std::size_t Available() const noexcept;
};

/// Writes to the client end of a pipe; a write to a full pipe can be interrupted and cancelled. After that the state of
/// the peer is unknown and the channel counts as broken. One thread writes at a time.
class IOWriter final : public IWriter
{
public:
    explicit IOWriter(NativeHandle handle, Wait wait = {});
    ~IOWriter() override;

    void Write(const void* buffer, std::size_t size) override;
    void Flush() override { }

private:
    struct Overlapped;
    NativeHandle m_handle; // not owned
    const Wait m_wait;
    std::unique_ptr<Overlapped> m_overlapped;
};

} // namespace qpr
