#pragma once

#include "runtime/channels/IReader.h"
#include "runtime/channels/IWriter.h"
#include "runtime/threads/NativeHandle.h"

#include <memory>

/// The standard streams of this process as bytes: no text mode, no buffer. Reads and writes can be interrupted like
/// those of pipes, whatever the streams are connected to; other processes that share the streams are not affected.
namespace qpr
{

enum class StandardStream
{
    Input,
    Output,
    Error,
};

/// Makes sure that no file opened later takes the place of a standard stream that the program was started without. A
/// program calls it first of all. On Windows it also makes the standard streams carry bytes as they are, a console show
/// UTF-8 until the program ends, and a crash show no message box.
void ReserveStandardStreams();

/// The handle itself, for waits. The process keeps it.
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
