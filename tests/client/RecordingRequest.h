#pragma once

#include <qxmi/IServiceRequestW.h>

#include "runtime/text/Utf8.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <string>

namespace test
{

/// A request that remembers how its call ended.
class RecordingRequest : public qxmi::IServiceRequestW
{
public:
    RecordingRequest(std::wstring service, std::map<std::wstring, std::wstring> attributes)
        : m_service(std::move(service))
        , m_attributes(std::move(attributes))
    {
    }

    void GetServiceName(std::wstring& name) override { name = m_service; }
    void GetServiceRequestAttributes(std::map<std::wstring, std::wstring>& attributes) override
    {
        attributes = m_attributes;
    }
    void Execute(qxmi::IServiceConnectionW&) override { }
    void OnCancelled() override { Add("cancelled;"); }
    void OnError(const std::exception& error) override { Add(std::string("error: ") + error.what() + ";"); }
    void WriteLog(const wchar_t* text, std::size_t length) override
    {
        std::lock_guard lock(m_lock);
        m_log += qpr::ToUtf8({text, length});
    }

    /// Empty for a call that is done or has not ended.
    std::string Notifications()
    {
        std::lock_guard lock(m_lock);
        return m_notifications;
    }

    std::string Log()
    {
        std::lock_guard lock(m_lock);
        return m_log;
    }

    /// What is wrong with how the call has ended; empty when nothing is.
    virtual std::string Complaint()
    {
        const std::string text = Notifications();
        return std::ranges::count(text, ';') > 1 ? "ended twice: " + text : "";
    }

private:
    void Add(const std::string& text)
    {
        std::lock_guard lock(m_lock);
        m_notifications += text;
    }

    const std::wstring m_service;
    const std::map<std::wstring, std::wstring> m_attributes;
    std::mutex m_lock;
    std::string m_notifications;
    std::string m_log;
};

} // namespace test
