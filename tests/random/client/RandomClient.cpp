#include "random/Places.h"
#include "runtime/processes/CurrentProcess.h"
#include "runtime/text/Utf8.h"
#include "runtime/threads/Thread.h"
#include "support/ProcessTable.h"

#include <qxmi/QxClient.h>

#include <algorithm>
#include <cstdio>
#include <deque>
#include <fstream>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>

// The application of the random calls: makes the calls that the plan under the service's name says over the library's
// public interface. A line for each on the standard output says how it ended.

namespace
{

using Intervention = test::ClientPlan::Intervention;

struct Release
{
    template <class Object>
    void operator()(Object* object) const
    {
        object->Release();
    }
};
using Connector = std::unique_ptr<qxmi::IServiceConnectorW, Release>;
using Call = std::unique_ptr<qxmi::IServiceCall, Release>;

class Request final : public qxmi::IServiceRequestW
{
public:
    Request(std::wstring service, std::wstring processors, const std::string& input)
        : m_service(std::move(service))
        , m_processors(std::move(processors))
        , m_input(input)
    {
    }

    bool asksServantEnd = false;

    /// A call that waits inside for another: made over this connector when it runs.
    qxmi::IServiceConnectorW* connectorForAnother = nullptr;

    void GetServiceName(std::wstring& name) override { name = m_service; }
    void GetServiceRequestAttributes(std::map<std::wstring, std::wstring>& attributes) override
    {
        attributes[L"P"] = m_processors;
    }
    void WriteLog(const wchar_t*, std::size_t) override { }
    void OnCancelled() override { Add("cancelled"); }
    void OnError(const std::exception& error) override { Add(std::string("error: ") + error.what()); }

    void Execute(qxmi::IServiceConnectionW& connection) override
    {
        if (connectorForAnother)
        {
            Request another(m_service, m_processors, m_input);
            another.asksServantEnd = asksServantEnd;
            const Call call(connectorForAnother->CreateServiceCall(another));
            call->Wait();
        }
        std::string output;
        {
            const std::jthread writer([&] { Write(connection); });
            std::string piece(65536, '\0');
            while (const auto size = connection.InputStream().rdbuf()->sgetn(piece.data(), 1))
            {
                output.append(piece, 0, static_cast<std::size_t>(size));
                const auto more = connection.InputStream().readsome(piece.data(), std::streamsize(piece.size()));
                output.append(piece, 0, static_cast<std::size_t>(more));
            }
        }
        qxmi::ServantEnd end;
        if (asksServantEnd && connection.WaitForServantEnd(end) && (end.exitCode != 0 || end.signal != 0))
            throw std::runtime_error("servant ended with exit code " + std::to_string(end.exitCode) + ", signal "
                + std::to_string(end.signal));
        m_output = std::move(output);
    }

    /// "done" where there was no other notification.
    std::string Outcome()
    {
        const std::lock_guard lock(m_lock);
        return m_notifications.empty() ? "done" : m_notifications;
    }

    const std::string& Output() const { return m_output; }

private:
    /// A servant that takes no more is no error.
    void Write(qxmi::IServiceConnectionW& connection) const
    {
        try
        {
            constexpr std::size_t pieceSize = 100'000;
            for (std::size_t at = 0; at < m_input.size(); at += pieceSize)
                connection.OutputStream().write(
                    m_input.data() + at, static_cast<std::streamsize>(std::min(pieceSize, m_input.size() - at)));
            connection.CloseOutput();
        }
        catch (const std::exception&)
        {
        }
    }

    void Add(const std::string& notification)
    {
        const std::lock_guard lock(m_lock);
        m_notifications += (m_notifications.empty() ? "" : " and ") + notification;
    }

    const std::wstring m_service;
    const std::wstring m_processors;
    const std::string& m_input;
    std::string m_output;
    std::mutex m_lock;
    std::string m_notifications;
};

void Intervene(const test::ClientPlan& plan, qxmi::IServiceConnectorW& connector, std::vector<Call>& calls)
{
    if (plan.intervention == Intervention::None)
        return;
    std::this_thread::sleep_for(std::chrono::milliseconds(plan.interveneAtMs));
    if (plan.intervention == Intervention::Release)
        return calls.clear();
    if (plan.intervention == Intervention::CancelAll)
    {
        std::vector<qxmi::IServiceCall*> all;
        for (const Call& call : calls)
            all.push_back(call.get());
        return connector.CancelServiceCalls(all);
    }
    for (const Call& call : calls)
        call->Cancel();
}

/// The exit code: 0 done, 1 one call failed, 130 one was cancelled.
int MakeCalls(const std::string& connectorText, const std::string& service, const std::string& processors)
{
    const test::Places places = test::Places::FromEnvironment();
    const test::ClientPlan plan = test::MakePlan(places.ReadSeed(service)).client;
    const std::string input = test::MakePayload(plan.input);
    std::deque<Request> requests;
    {
        const Connector connector(qxmi::CreateServiceConnectorW(connectorText));
        std::vector<Call> calls;
        for (unsigned number = 0; number < plan.calls; ++number)
        {
            Request& request = requests.emplace_back(qpr::FromUtf8(service), qpr::FromUtf8(processors), input);
            request.asksServantEnd = plan.asksServantEnd;
            if (plan.waitsInside)
                request.connectorForAnother = connector.get();
            calls.emplace_back(connector->CreateServiceCall(request));
        }
        Intervene(plan, *connector, calls);
        for (const Call& call : calls)
            call->Wait();
    }
    int exitCode = 0;
    for (unsigned number = 0; number < plan.calls; ++number)
    {
        const std::string outcome = requests[number].Outcome();
        std::printf("%u\t%s\n", number, outcome.c_str());
        if (outcome == "done")
            std::ofstream(places.OutputOf(service, number), std::ios::binary) << requests[number].Output();
        else
            exitCode = std::max(exitCode, outcome == "cancelled" ? 130 : 1);
    }
    return exitCode;
}

} // namespace

int main(int argc, char** argv)
{
    const std::vector<std::string> words = qpr::ProgramArguments(argc, argv);
    try
    {
        std::thread([] {}).join(); // beside the first one the thread sanitizer starts one of its own
        const auto before = test::CountResources(qpr::CurrentProcess::GetId());
        const int exitCode = MakeCalls(words.at(1), words.at(2), words.at(3));
        const auto isMore = [&before](const test::ResourceCount& now)
        { return now.handles > before.handles || now.threads > before.threads || now.children > before.children; };
        auto after = test::CountResources(qpr::CurrentProcess::GetId());
        for (int look = 0; look < 100 && isMore(after); ++look) // an ended thread is counted for a moment
        {
            qpr::Thread::Sleep(10);
            after = test::CountResources(qpr::CurrentProcess::GetId());
        }
        if (isMore(after))
            std::printf("left: handles %zu -> %zu, threads %zu -> %zu, children %zu -> %zu\n", before.handles,
                after.handles, before.threads, after.threads, before.children, after.children);
        return exitCode;
    }
    catch (const std::exception& error)
    {
        std::fprintf(stderr, "%s\n", error.what());
        return 1;
    }
}
