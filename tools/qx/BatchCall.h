#pragma once

#include "tools/qx/BatchPlan.h"
#include "tools/qx/ByteFile.h"
#include "tools/qx/ConnectorOptions.h"
#include "tools/qx/Exchange.h"
#include "tools/qx/Explanation.h"
#include "tools/qx/JobLog.h"
#include "tools/qx/ServiceRequest.h"

#include <qxmi/IServiceCall.h>
#include <qxmi/IServiceConnectorW.h>

#include <chrono>
#include <optional>

namespace qx
{

class BatchCall;

/// The last lines of a log, for the report of a call that failed.
class LogTail
{
public:
    void Append(std::wstring_view piece);
    const std::wstring& Text() const noexcept { return m_text; }

private:
    std::wstring m_text;
};

/// Hears of the calls of a batch, on any thread. Must not call back into the library.
class IBatchListener
{
public:
    virtual ~IBatchListener() = default;
    virtual void OnStarted() = 0;

    /// The conversation is over; the call may still wait for its servant.
    virtual void OnConversed(BatchCall& call) = 0;

    /// The call has ended or ends at once. Comes at least once for each call, its waiter's end included.
    virtual void OnEnded(BatchCall& call) = 0;
};

/// One file on its way through a call. Its operations are for the thread that runs the batch; the request's
/// notifications come on others.
class BatchCall final : public ServiceRequest
{
public:
    BatchCall(const BatchItem& item, const Situation& situation, IBatchListener& listener);

    void Start(qxmi::IServiceConnectorW& connector);
    void Cancel();

    /// Arranges for the listener to be told once the call has ended. Requires: the conversation is over.
    void WaitForEnd();

    /// Waits for the end, which is near; gives the file its output if all went well. Returns false on later
    /// calls, which do nothing.
    bool Collect();

    bool HasStarted() const noexcept { return m_hasStarted; }
    bool IsDone() const noexcept { return !m_problem; }
    const std::optional<ExplainedError>& Problem() const noexcept { return m_problem; }

    /// How it went. Requires: collected.
    const JobRecord& Record() const noexcept { return m_record; }

    /// The end of what the servant wrote to its log.
    const std::wstring& LastLogLines() const noexcept { return m_logTail.Text(); }

    void Execute(qxmi::IServiceConnectionW& connection) override;
    void OnCancelled() override;
    void OnError(const std::exception& error) override;
    void WriteLog(const wchar_t* text, std::size_t length) override;

private:
    void Conclude();
    void Publish();

    const BatchItem& m_item;
    const Situation& m_situation;
    IBatchListener& m_listener;
    std::atomic<bool> m_hasStarted = false;
    bool m_isCollected = false;
    std::unique_ptr<FileReader> m_input;
    std::unique_ptr<WholeFile> m_output;
    std::unique_ptr<Exchange> m_exchange;
    LogTail m_logTail;
    std::optional<ExplainedError> m_problem;
    JobRecord m_record;
    LibraryObject<qxmi::IServiceCall> m_call; // a call that still runs uses what stands above
    std::unique_ptr<CallWaiter> m_waiter;
};

} // namespace qx
