#pragma once

#include "runtime/channels/IReader.h"
#include "runtime/channels/IWriter.h"
#include "runtime/threads/NativeHandle.h"

#include <memory>

/// The standard streams of this process as bytes: no text mode, no buffer between. Reads and writes can be interrupted
/// as those of pipes can, whatever the streams are connected to; other processes that share them notice nothing of it.
namespace qpr
{

enum class StandardStream
{
    Input,
    Output,
    Error,
};

/// A program calls it first of all: makes sure that no file opened later takes the place of a standard stream that the
/// program was started without. On Windows the standard streams then carry bytes as they are, a console shows UTF-8
/// until the program ends, and a crash shows no message box.
void ReserveStandardStreams();

/// The handle as such, for waits. It stays the process's.
NativeHandle HandleOf(StandardStream stream) noexcept;

class StandardInput final : public IReader
{
public:
    std::size_t Read(void* buffer, std::size_t size) override;
    bool InputPending() override;
};

class StandardOutput final : public IWriter
{
public:
    StandardOutput();
    ~StandardOutput() override;
    StandardOutput(const StandardOutput&) = delete;
    StandardOutput& operator=(const StandardOutput&) = delete;

    void Write(const void* buffer, std::size_t size) override;
    void Flush() override { }

private:
    struct State;
    std::unique_ptr<State> m_state;
};

} // namespace qpr
