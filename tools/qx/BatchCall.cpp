#include "tools/qx/BatchCall.h"

namespace qx
{

namespace
{

constexpr std::size_t maxTailLength = 2000;

}

void LogTail::Append(std::wstring_view piece)
{
    m_text += piece;
    if (m_text.size() <= maxTailLength)
        return;
    m_text.erase(0, m_text.size() - maxTailLength);
    m_text.erase(0, m_text.find(L'\n') + 1); // the rest of a line cut; nothing when the tail is one long line
}

BatchCall::BatchCall(const BatchItem& item, const Situation& situation, IBatchListener& listener)
    : ServiceRequest(situation.service, situation.attributes)
    , m_item(item)
    , m_situation(situation)
    , m_listener(listener)
{
    m_record.number = item.number;
    m_record.name = item.name;
}

void BatchCall::Start(qxmi::IServiceConnectorW& connector)
{
    m_record.start = std::chrono::system_clock::now();
    m_call.reset(Explaining(m_situation, [&] { return connector.CreateServiceCall(*this); }));
}

void BatchCall::Cancel()
{
    if (m_call)
        m_call->Cancel();
}

void BatchCall::WaitForEnd()
{
    if (m_call && !m_waiter)
        m_waiter = std::make_unique<CallWaiter>(*m_call, [this] { m_listener.OnEnded(*this); });
}

bool BatchCall::Collect()
{
    if (m_isCollected)
        return false;
    m_isCollected = true;
    m_call->Wait();
    m_waiter.reset();
    m_call.reset();
    Conclude();
    return true;
}

void BatchCall::Conclude()
{
    m_record.duration = std::chrono::system_clock::now() - m_record.start;
    if (GetOutcome() == Outcome::Failed)
        m_problem = Explain(ErrorText(), m_situation);
    else if (GetOutcome() == Outcome::Cancelled)
        m_problem = ExplainedError("interrupted", {});
    else
        Publish();
    if (m_exchange)
    {
        m_record.bytesIn = m_exchange->BytesIn();
        m_record.bytesOut = m_exchange->BytesOut();
    }
    m_exchange.reset();
    m_output.reset();
    m_input.reset();
    m_record.result = m_problem ? std::string("failed: ") + m_problem->what() : "done";
}

void BatchCall::Publish()
{
    try
    {
        m_output->Publish();
    }
    catch (const std::exception& error)
    {
        m_problem = ExplainedError(error.what(), {});
    }
}

void BatchCall::Execute(qxmi::IServiceConnectionW& connection)
{
    m_record.start = std::chrono::system_clock::now();
    m_hasStarted = true;
    m_listener.OnStarted();
    m_input = std::make_unique<FileReader>(m_item.file);
    m_output = std::make_unique<WholeFile>(m_item.output);
    m_exchange = std::make_unique<Exchange>(*m_input, *m_output);
    if (const auto failure = RunToServantEnd(*m_exchange, connection, m_situation))
        Fail(*failure);
    else
        m_output->Close();
    m_listener.OnConversed(*this);
}

void BatchCall::OnCancelled()
{
    ServiceRequest::OnCancelled();
    m_listener.OnEnded(*this);
}

void BatchCall::OnError(const std::exception& error)
{
    ServiceRequest::OnError(error);
    m_listener.OnEnded(*this);
}

void BatchCall::WriteLog(const wchar_t* text, std::size_t length)
{
    m_logTail.Append({text, length});
}

} // namespace qx
