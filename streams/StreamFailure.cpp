#include "streams/StreamFailure.h"

#include "runtime/threads/Thread.h"

#include <exception>
#include <mutex>
#include <utility>

namespace qpr
{

namespace
{

/// An error that carries a guard, which makes the stream good again when the error's last copy is destroyed.
template <class Error>
class StreamError final : public Error
{
public:
    template <class... Arguments>
    explicit StreamError(std::shared_ptr<void> guard, const Arguments&... arguments)
        : Error(arguments...)
        , m_guard(std::move(guard))
    {
    }

private:
    std::shared_ptr<void> m_guard;
};

} // namespace

struct StreamFailure::StreamLink
{
    std::mutex mutex;
    std::function<void()> revive; ///< empty once the stream has gone
};

StreamFailure::~StreamFailure()
{
    if (!m_link)
        return;
    const std::lock_guard lock(m_link->mutex);
    m_link->revive = nullptr;
}

void StreamFailure::ReviveStreamWith(std::function<void()> revive)
{
    m_link = std::make_shared<StreamLink>();
    m_link->revive = std::move(revive);
}

void StreamFailure::ThrowPassing(const std::wstring& text) const
{
    throw StreamError<RuntimeError>(MakeGuard(), text);
}

void StreamFailure::KeepAndThrow()
{
    try
    {
        throw;
    }
    catch (const InterruptException&)
    {
        m_text = L"Call cancelled";
        m_interruptedThread = std::this_thread::get_id();
    }
    catch (const PeerClosedError& error)
    {
        m_text = ErrorText(error);
        m_peerHasClosed = true;
    }
    catch (const std::exception& error)
    {
        m_text = ErrorText(error);
    }
    catch (...) // the caller's own exception out of a wait: it must arrive unchanged
    {
        m_text = L"Unknown exception";
        m_hasFailed = true;
        throw;
    }
    m_hasFailed = true;
    ThrowAgain();
}

void StreamFailure::ThrowAgain() const
{
    if (m_interruptedThread == std::this_thread::get_id())
        throw StreamError<InterruptException>(MakeGuard());
    if (m_peerHasClosed)
        throw StreamError<PeerClosedError>(MakeGuard(), m_text);
    ThrowPassing(m_text);
}

std::shared_ptr<void> StreamFailure::MakeGuard() const
{
    const auto reviveIfThere = [link = m_link, thrower = std::this_thread::get_id()](void*)
    {
        // On another thread this would interfere with the stream's own.
        if (!link || thrower != std::this_thread::get_id())
            return;
        const std::lock_guard lock(link->mutex);
        if (link->revive)
            link->revive();
    };
    return std::shared_ptr<void>(nullptr, reviveIfThere);
}

} // namespace qpr
