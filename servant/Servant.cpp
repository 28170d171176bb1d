#include <qxservant/Servant.h>

#include "config/Arguments.h"
#include "protocol/CompressedServiceConnection.h"
#include "protocol/CompressionMode.h"
#include "protocol/GenericServiceConnection.h"
#include "protocol/ServantAnswer.h"
#include "runtime/channels/StandardStreams.h"
#include "runtime/processes/CurrentProcess.h"
#include "runtime/text/Errors.h"
#include "runtime/text/TextValues.h"
#include "runtime/text/Utf8.h"
#include "runtime/threads/IRunnable.h"
#include "runtime/threads/Thread.h"
#include "runtime/threads/WaitObject.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <utility>

namespace qxservant
{

namespace
{

constexpr int exitCodeFailed = 1;
constexpr int exitCodeWrongCommand = 2;
constexpr int exitCodeClientGone = 3;

/// The command line that a servant is started with: "execute", the service's name, named arguments.
class ServantCommand
{
public:
    /// Takes the words after the program's name. Throws what is wrong with them.
    explicit ServantCommand(std::vector<std::wstring> words)
        : m_arguments(std::move(words))
    {
        qxm::ExpectArgument(m_arguments, 0, L"execute");
        m_arguments.Positional(1);
    }

    const std::wstring& ServiceName() const { return m_arguments.Positional(1); }
    std::wstring Argument(const std::wstring& name) const { return m_arguments.NamedOrEmpty(name); }
    bool IsLocal() const { return Argument(L"IsLocal") == L"true"; }

    /// 0 when not given or not applicable.
    unsigned NumberOfProcessorsToUse() const
    {
        const std::wstring name = L"NumberOfProcessorsToUse";
        const std::wstring text = Argument(name);
        return text.empty() || text == L"NotApplicable" ? 0 : qpr::ParseUInt32(text, name);
    }

    /// The protocol for the CompressionMode asked for: "zlib" is "BlockedRawDeflate", "qlz14" is "BlockedQLZ14",
    /// anything else is none.
    std::wstring CompressionProtocol() const
    {
        const std::wstring mode = Argument(L"CompressionMode");
        if (mode == qxm::CompressionModeName(qxm::CompressionMode::Zlib))
            return L"BlockedRawDeflate";
        return mode == qxm::CompressionModeName(qxm::CompressionMode::Qlz14) ? L"BlockedQLZ14" : L"";
    }

private:
    qxm::Arguments m_arguments;
};

/// Ends the process when nobody is left to work for, even while it only computes: at once when the log channel has no
/// reader any more (the client has died), and a moment after the data channel has none (the client waits for the end).
class ClientWatch final : private qpr::IRunnable
{
public:
    ClientWatch()
        : m_thread(*this, "qx client watch")
    {
    }

private:
    void Run() override
    {
        constexpr std::uint32_t timeToEndMs = 20; // for a service that ends by itself
        const auto readerGone = [](qpr::StandardStream stream)
        { return qpr::WaitObject(qpr::HandleOf(stream), qpr::WaitObject::Kind_PeerGone); };
        const std::array<qpr::WaitObject, 2> channels{
            readerGone(qpr::StandardStream::Error), readerGone(qpr::StandardStream::Output)};

        constexpr int data = 1;
        if (qpr::Thread::WaitForAnyObject(channels, L"qxservant::ClientWatch::Run") == data)
            qpr::Thread::TryWaitForObject(channels[0], L"qxservant::ClientWatch::Run", timeToEndMs);
        std::_Exit(exitCodeClientGone);
    }
    void HandleError(const std::exception&) override { }

    qpr::Thread m_thread;
};

using PlainConnection = qxm::GenericServiceConnection<qpr::StandardInput, qpr::StandardOutput>;

/// The client's view of a connection turned round: the same streams, compressed as the answer says.
class StandardConnection final : public Connection
{
public:
    StandardConnection(const ServantCommand& command, const std::wstring& compressionProtocol)
        : m_command(command)
        , m_plain(std::make_unique<qpr::StandardInput>(), std::make_unique<qpr::StandardOutput>(), {}, {})
    {
        if (compressionProtocol.empty())
            return;
        m_compressed = qxm::CreateCompressedServiceConnection(m_plain, compressionProtocol);
        if (!m_compressed)
            throw qpr::RuntimeError(L"Unknown compression protocol '" + compressionProtocol + L"'");
    }

    std::istream& Input() override { return Active().InputStream(); }
    std::ostream& Output() override { return Active().OutputStream(); }
    std::ostream& Log() override { return std::cerr; }
    const std::wstring& ServiceName() const override { return m_command.ServiceName(); }
    std::wstring ClientIdentifier() const override { return Argument(L"ClientId"); }
    bool IsLocal() const override { return m_command.IsLocal(); }
    unsigned NumberOfProcessorsToUse() const override { return m_command.NumberOfProcessorsToUse(); }
    std::wstring Argument(const std::wstring& name) const override { return m_command.Argument(name); }

    /// The answer goes out before any compression.
    void WriteAnswer(const std::wstring& line) { m_plain.OutputStream() << qpr::ToUtf8(line) << '\n' << std::flush; }

private:
    qxmi::internal::IServiceConnectionExW& Active() noexcept
    {
        return m_compressed ? *m_compressed : static_cast<qxmi::internal::IServiceConnectionExW&>(m_plain);
    }

    const ServantCommand& m_command;
    PlainConnection m_plain;
    std::unique_ptr<qxmi::internal::IServiceConnectionExW> m_compressed;
};

std::wstring AnswerLine(const std::wstring& serviceName, const std::wstring& compressionProtocol)
{
    std::wstring line =
        L"servant " + std::to_wstring(qpr::CurrentProcess::GetId()) + L" executing \"" + serviceName + L"\"";
    if (!compressionProtocol.empty())
        line += L" CompressionProtocol=" + compressionProtocol;
    return line;
}

int Execute(const ServantCommand& command, const Service& service)
{
    const std::wstring protocol =
        service.compressionProtocol.empty() ? command.CompressionProtocol() : service.compressionProtocol;
    StandardConnection connection(command, protocol);
    const ClientWatch watch;
    connection.WriteAnswer(AnswerLine(service.name, protocol));
    const int exitCode = service.function(connection);
    connection.Output().flush();
    return exitCode;
}

int Report(const std::exception& error, int exitCode)
{
    std::cerr << error.what() << std::endl;
    return exitCode;
}

ServantCommand ParseCommand(int argc, char** argv)
{
    std::vector<std::wstring> words;
    for (const std::string& argument : qpr::ProgramArguments(argc, argv))
        words.push_back(qpr::FromUtf8(argument));
    words.erase(words.begin());
    return ServantCommand(std::move(words));
}

const Service& Find(std::initializer_list<Service> services, const std::wstring& name)
{
    const auto found =
        std::find_if(services.begin(), services.end(), [&](const Service& service) { return service.name == name; });
    if (found == services.end())
        throw qpr::RuntimeError(L"This servant does not offer a service '" + name + L"'");
    return *found;
}

} // namespace

int Run(int argc, char** argv, std::initializer_list<Service> services)
{
    qpr::ReserveStandardStreams();
    std::unique_ptr<ServantCommand> command;
    const Service* service = nullptr;
    try
    {
        command = std::make_unique<ServantCommand>(ParseCommand(argc, argv));
        service = &Find(services, command->ServiceName());
    }
    catch (const std::exception& error)
    {
        return Report(error, exitCodeWrongCommand);
    }
    try
    {
        return Execute(*command, *service);
    }
    catch (const std::exception& error)
    {
        return Report(error, exitCodeFailed);
    }
    catch (...)
    {
        return Report(qpr::RuntimeError(L"The service threw something that is no std::exception"), exitCodeFailed);
    }
}

} // namespace qxservant
