#include "protocol/ServantOutput.h"

#include "runtime/Errors.h"

#include <utility>

namespace qxm
{

/// Ends a wait for data that nobody should write any more.
class ServantOutput::Over
{
};

ServantOutput::ServantOutput(
    qpr::PipeEnd pipe, const qpr::WaitObject& servantEnd, GraceTimer& grace, std::wstring servantPath, qpr::Wait wait)
    : m_grace(grace)
    , m_servantPath(std::move(servantPath))
    , m_pipe(std::move(pipe))
    , m_reader(m_pipe.Handle(), wait.Or(servantEnd, [this] { return AllowAfterEnd(); }))
{
}

std::size_t ServantOutput::Read(void* buffer, std::size_t size)
{
    {
        const qpr::ScopedLock lock(m_lock);
        m_isReading = true;
    }
    std::size_t count = 0;
    try
    {
        count = m_reader.Read(buffer, size);
    }
    catch (const Over&)
    {
    }
    const qpr::ScopedLock lock(m_lock);
    m_isReading = false;
    if (m_left && count > *m_left)
        throw qpr::RuntimeError(L"Servant '" + m_servantPath + L"' left a process that was still writing");
    if (m_left)
        *m_left -= count;
    else if (m_hasServantEnded)
        DrawLine();
    return count;
}

bool ServantOutput::InputPending()
{
    try
    {
        return m_reader.InputPending();
    }
    catch (const Over&)
    {
        return true;
    }
}

void ServantOutput::NoteServantEnd()
{
    const qpr::ScopedLock lock(m_lock);
    m_hasServantEnded = true;
    if (!m_isReading) // a read may have taken data that it has not counted yet
        DrawLine();
}

/// Asked before each read and while one waits, once the servant has ended.
std::uint32_t ServantOutput::AllowAfterEnd()
{
    m_grace.Start(graceTimeMs);
    const std::uint32_t leftMs = m_grace.LeftMs();
    const qpr::ScopedLock lock(m_lock);
    DrawLine();
    if (leftMs == 0 && m_reader.Available() == 0)
        throw Over();
    return leftMs;
}

void ServantOutput::DrawLine()
{
    if (!m_left)
        m_left = m_reader.Available();
}

} // namespace qxm
