#pragma once

#include "runtime/threads/IRunnable.h"
#include "runtime/threads/Thread.h"

#include <atomic>
#include <functional>
#include <map>
#include <qxmi/IServiceCall.h>
#include <qxmi/IServiceRequestW.h>
#include <string>

namespace qx
{

/// What every request of the tool has: the service, the attributes, and the one outcome of its call. The outcome is
/// read after the call has ended.
class ServiceRequest : public qxmi::IServiceRequestW
{
public:
    using Attributes = std::map<std::wstring, std::wstring>;

    enum class Outcome
    {
        Done,
        Failed,
        Cancelled,
    };

    ServiceRequest(std::wstring serviceName, Attributes attributes);

    Outcome GetOutcome() const noexcept { return m_outcome; }

    /// Of a call that failed, in UTF-8.
    const std::string& ErrorText() const noexcept { return m_errorText; }

    void GetServiceName(std::wstring& name) final { name = m_serviceName; }
    void GetServiceRequestAttributes(std::map<std::wstring, std::wstring>& attributes) final
    {
        attributes = m_attributes;
    }
    void OnCancelled() override { m_outcome = Outcome::Cancelled; }
    void OnError(const std::exception& error) override;

protected:
    /// Makes a call that the library counts as done one that failed. Requires: Execute runs.
    void Fail(std::string errorText);

private:
    const std::wstring m_serviceName;
    const Attributes m_attributes;
    std::atomic<Outcome> m_outcome = Outcome::Done;
    std::string m_errorText;
};

/// Waits for a call on a thread of its own, so that the program can wait for other things at the same time. The call
/// outlives it; the destructor cancels one that still runs and waits for its end.
class CallWaiter final : public qpr::IRunnable
{
public:
    /// The callback comes on that thread, once the call has ended; it must not throw.
    CallWaiter(qxmi::IServiceCall& call, std::function<void()> onEnded);
    ~CallWaiter() override;

private:
    void Run() override;
    void HandleError(const std::exception&) override { m_onEnded(); }

    qxmi::IServiceCall& m_call;
    std::function<void()> m_onEnded;
    qpr::Thread m_thread;
};

} // namespace qx
