#include "distributor/ProcessStarter.h"

#include "protocol/ServantProcess.h"
#include "runtime/text/CommandLineText.h"
#include "runtime/text/Errors.h"

#include <memory>

namespace qxd
{
namespace
{

class ProcessServant final : public IServant
{
public:
    ProcessServant(const std::vector<std::wstring>& commandLine, std::wostream& log)
        : m_process(commandLine, log)
    {
    }

    void OpenChannels(const ServantWaits& waits) override
    {
        m_cancellation = &waits.cancellation;
        m_input = m_process.OpenInput(waits.cancellation);
        m_output = m_process.OpenOutput(waits.output);
    }

    qpr::IWriter& Input() override { return *m_input; }
    void CloseInput() override { m_process.CloseInput(); }
    qpr::IReader& Output() override { return *m_output; }
    void CloseOutput() override { m_process.CloseOutput(); }
    qpr::WaitObject EndObject() const override { return m_process.EndObject(); }

    std::uint32_t EndSignal() const override { return m_process.AwaitEnd(*m_cancellation).signal; }

    ServantOutcome End() override
    {
        m_process.Hurry();
        const qpr::ChildProcess::ExitStatus status = m_process.WaitForEnd(*m_cancellation);
        return {status.isKnown, status.exitCode, status.signal, m_process.Figures()};
    }

private:
    qxm::ServantProcess m_process;
    const qpr::Cancellation* m_cancellation = nullptr; // not owned
    std::unique_ptr<qpr::IOWriter> m_input;
    std::unique_ptr<qpr::IReader> m_output;
};

} // namespace

std::unique_ptr<IServant> ProcessStarter::Start(const std::vector<std::wstring>& commandLine, std::wostream& log)
{
    // What a client sends becomes part of the command line, which an interpreter would read as commands.
    if (qpr::IsBatchFile(commandLine.front()))
        throw qpr::RuntimeError(L"Batch file '" + commandLine.front() + L"' cannot be a servant of a distributor");
    return std::make_unique<ProcessServant>(commandLine, log);
}

} // namespace qxd
