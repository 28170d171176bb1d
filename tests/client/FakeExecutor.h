#pragma once

#include "client/ICallExecutor.h"
#include "protocol/ICallContext.h"
#include "runtime/text/Errors.h"
#include "runtime/threads/Cancellation.h"
#include "runtime/threads/ThreadEvent.h"
#include "runtime/threads/Wait.h"

#include <condition_variable>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <vector>

namespace test
{

/// Carries calls out as the test says, without processes and sockets. A call is named by its attribute "Id". Each step
/// of a call waits until the test lets it go on, and is told in order in what the test reads with Await.
class FakeExecutor final : public QxClient::ICallExecutor
{
public:
    /// Where calls stand: "local 1", "network 2", "ready 2", "given up 2".
    void Await(const std::string& event)
    {
        std::unique_lock lock(m_lock);
        m_changed.wait(lock, [&] { return m_events.contains(event); });
    }

    bool Happened(const std::string& event)
    {
        std::lock_guard lock(m_lock);
        return m_events.contains(event);
    }

    /// Lets the call go on: a waiting network call gets its servant, a running one ends.
    void LetGo(const std::string& id) { EventOf(id).Signal(); }

    /// The call's current step fails with the text instead.
    void Fail(const std::string& id, const std::wstring& text)
    {
        {
            std::lock_guard lock(m_lock);
            m_failures[id] = text;
        }
        LetGo(id);
    }

    void RunLocally(qxm::ICallContext& call, const qxm::LocalServiceInfo&, const qxm::ExpectedUsage&) override
    {
        Tell("local", call);
        WaitStep(call);
    }

    bool RunOnNetwork(qxm::ICallContext& call, std::optional<qpr::WaitObject> giveUpObject,
        const std::function<void()>& onServantAssigned) override
    {
        Tell("network", call);
        std::vector<qpr::WaitObject> objects{call.GetCancellation().Object(), EventOf(IdOf(call)).Object()};
        if (giveUpObject)
            objects.push_back(*giveUpObject);
        const int index = qpr::Thread::WaitForAnyObject(objects, L"test::FakeExecutor");
        call.GetCancellation().ThrowIfCancelled();
        if (index == 2)
        {
            Tell("given up", call);
            return false;
        }
        ThrowFailure(call);
        onServantAssigned();
        Tell("ready", call);
        WaitStep(call);
        return true;
    }

private:
    static std::string IdOf(const qxm::ICallContext& call)
    {
        const std::wstring id = call.Attributes().at(L"Id");
        return std::string(id.begin(), id.end());
    }

    void Tell(const char* what, const qxm::ICallContext& call)
    {
        std::lock_guard lock(m_lock);
        m_events.insert(std::string(what) + ' ' + IdOf(call));
        m_changed.notify_all();
    }

    void WaitStep(qxm::ICallContext& call)
    {
        qpr::Wait(call.GetCancellation()).For(EventOf(IdOf(call)).Object(), L"test::FakeExecutor");
        ThrowFailure(call);
    }

    void ThrowFailure(const qxm::ICallContext& call)
    {
        std::lock_guard lock(m_lock);
        const auto failure = m_failures.extract(IdOf(call));
        if (failure)
            throw qpr::RuntimeError(failure.mapped());
    }

    qpr::ThreadEvent& EventOf(const std::string& id)
    {
        std::lock_guard lock(m_lock);
        return m_steps.try_emplace(id, qpr::ThreadEvent::Kind_AutoReset).first->second;
    }

    std::mutex m_lock;
    std::condition_variable m_changed;
    std::set<std::string> m_events;
    std::map<std::string, std::wstring> m_failures;
    std::map<std::string, qpr::ThreadEvent> m_steps;
};

} // namespace test
