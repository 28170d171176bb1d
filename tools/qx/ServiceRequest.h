#pragma once

#include <qxmi/IServiceRequestW.h>

#include <atomic>
#include <map>
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

} // namespace qx
