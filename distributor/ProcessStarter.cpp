#include "distributor/ProcessStarter.h"

#include "distributor/CallWaiter.h"
#include "protocol/ServantProcess.h"
#include "runtime/CommandLineText.h"
#include "runtime/Errors.h"

namespace qxd
{
namespace
{

class ProcessServant final : public IServant
{
public:
    ProcessServant(const std::vector<std::wstring>& commandLine, std::wostream& log, const CallWaiter& waiter)
        : m_cancellation(waiter.GetCancellation())
        , m_process(commandLine, log)
        , m_input(m_process.CommandPipe().Handle(), &waiter.GetCancellation())
        , m_output(m_process.AnswerPipe().Handle(), waiter)
    {
    }

    qpr::IWriter& Input() override { return m_input; }
    void CloseInput() override { m_process.CommandPipe() = {}; }
    qpr::IReader& Output() override { return m_output; }
    void CloseOutput() override { m_process.AnswerPipe() = {}; }
    qpr::WaitObject EndObject() const override { return m_process.EndObject(); }

    ServantEnd End() override
    {
        constexpr bool hurry = true;
        const qpr::ChildProcess::ExitStatus status = m_process.WaitForEnd(m_cancellation, hurry);
        return {status.isKnown, status.exitCode, m_process.Figures()};
    }

private:
    const qpr::Cancellation& m_cancellation; // not owned
    qxm::ServantProcess m_process;
    qpr::IOWriter m_input;
    qpr::PipeReader m_output;
};

} // namespace

std::unique_ptr<IServant> ProcessStarter::Start(
    const std::vector<std::wstring>& commandLine, std::wostream& log, const CallWaiter& waiter)
{
    // What a client sends becomes part of the command line, which an interpreter would read as commands.
    if (qpr::IsBatchFile(commandLine.front()))
        throw qpr::RuntimeError(L"Batch file '" + commandLine.front() + L"' cannot be a servant of a distributor");
    return std::make_unique<ProcessServant>(commandLine, log, waiter);
}

} // namespace qxd
