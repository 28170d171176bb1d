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

    std::unique_ptr<QxClient::INetworkExecution> PrepareNetwork(
        qxm::ICallContext& call, std::optional<qpr::WaitObject> giveUpObject) override
    {
        return std::make_unique<Execution>(*this, call, giveUpObject);
    }

private:
    class Execution final : public QxClient::INetworkExecution
    {
    public:
        Execution(FakeExecutor& executor, qxm::ICallContext& call, std::optional<qpr::WaitObject> giveUpObject)
            : m_executor(executor)
            , m_call(call)
            , m_giveUpObject(giveUpObject)
        {
        }

        bool WaitUntilReady() override
        {
            m_executor.Tell("network", m_call);
            std::vector<qpr::WaitObject> objects{
                m_call.GetCancellation().Object(), m_executor.EventOf(IdOf(m_call)).Object()};
            if (m_giveUpObject)
                objects.push_back(*m_giveUpObject);
            const int index = qpr::Thread::WaitForAnyObject(objects, L"test::FakeExecutor");
            m_call.GetCancellation().ThrowIfCancelled();
            if (index == 2)
            {
                m_executor.Tell("given up", m_call);
                return false;
            }
            m_executor.ThrowFailure(m_call);
            return true;
        }

        void CarryOut() override
        {
            m_executor.Tell("ready", m_call);
            m_executor.WaitStep(m_call);
        }

    private:
        FakeExecutor& m_executor;
        qxm::ICallContext& m_call;
        std::optional<qpr::WaitObject> m_giveUpObject;
    };

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
