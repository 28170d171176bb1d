#pragma once

#include "protocol/GraceTime.h"
#include "runtime/IReader.h"
#include "runtime/Mutex.h"
#include "runtime/NamedPipe.h"
#include "runtime/Wait.h"

#include <optional>
#include <string>

namespace qxm
{

/// The data of a servant that was started here. All that came before the servant's own end is read; after that the data
/// ends when nobody holds the channel any more, at the latest when the grace time is over. Data that another process
/// writes meanwhile is an error, "Servant '<path>' left a process that was still writing": nobody could tell whether it
/// was all.
class ServantOutput final : public qpr::IReader
{
public:
    /// Takes over our end of the channel. What `servantEnd` names, which starts the timer, and the timer are not owned
    /// and outlive this.
    ServantOutput(qpr::PipeEnd pipe, const qpr::WaitObject& servantEnd, GraceTimer& grace, std::wstring servantPath,
        qpr::Wait wait);

    std::size_t Read(void* buffer, std::size_t size) override;
    bool InputPending() override;

    /// Draws the line between the servant's data and that of others. For whoever waits for the servant's end, on any
    /// thread: the one that reads may be busy with what it has read.
    void NoteServantEnd() QX_EXCLUDES(m_lock);

private:
    class Over;

    std::uint32_t AllowAfterEnd() QX_EXCLUDES(m_lock);
    void DrawLine() QX_REQUIRES(m_lock);

    GraceTimer& m_grace; // not owned
    const std::wstring m_servantPath;
    const qpr::PipeEnd m_pipe;
    qpr::PipeReader m_reader;
    qpr::Mutex m_lock;
    bool m_isReading QX_GUARDED_BY(m_lock) = false;
    bool m_hasServantEnded QX_GUARDED_BY(m_lock) = false;
    std::optional<std::size_t> m_left QX_GUARDED_BY(m_lock); ///< to read of what came before the servant's end
};

/// What a connection owns of it.
class ServantOutputReader final : public qpr::IReader
{
public:
    explicit ServantOutputReader(ServantOutput& output)
        : m_output(output)
    {
    }

    std::size_t Read(void* buffer, std::size_t size) override { return m_output.Read(buffer, size); }
    bool InputPending() override { return m_output.InputPending(); }

private:
    ServantOutput& m_output; // not owned
};

} // namespace qxm
