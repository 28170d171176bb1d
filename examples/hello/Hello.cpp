#include <qxmi/QxClient.h>

#include <filesystem>
#include <iostream>
#include <stdexcept>

// The smallest application: one call of the service "Gzip", whose answer goes to standard output. Try "hello | gunzip".

namespace
{

class HelloRequest final : public qxmi::IServiceRequestW
{
public:
    /// Read it when the call has ended: the notifications come on threads of the library.
    bool HasFailed() const { return m_hasFailed; }

    void GetServiceName(std::wstring& name) override { name = L"Gzip"; }
    void GetServiceRequestAttributes(std::map<std::wstring, std::wstring>&) override { }

    void Execute(qxmi::IServiceConnectionW& servant) override
    {
        servant.OutputStream() << "hello\n";
        servant.CloseOutput();
        if (!(std::cout << servant.InputStream().rdbuf() << std::flush))
            throw std::runtime_error("there is no answer, or it cannot be written");
        qxmi::ServantEnd end;
        if (servant.WaitForServantEnd(end) && (end.exitCode != 0 || end.signal != 0))
            throw std::runtime_error("the servant failed, so the answer may not be whole");
    }

    void OnCancelled() override { m_hasFailed = true; }
    void OnError(const std::exception& error) override
    {
        m_hasFailed = true;
        std::cerr << "hello: " << error.what() << std::endl;
    }

    // Not std::wcerr: once one of the two has been used, the C library drops what the other writes.
    void WriteLog(const wchar_t* text, std::size_t length) override
    {
        const std::u8string utf8 = std::filesystem::path(std::wstring(text, length)).u8string();
        std::cerr.write(reinterpret_cast<const char*>(utf8.data()), static_cast<std::streamsize>(utf8.size()));
    }

private:
    bool m_hasFailed = false;
};

/// Returns the exit code.
int SayHello()
{
    HelloRequest request;
    qxmi::IServiceConnectorW* connector = qxmi::CreateServiceConnectorW("<LocalServiceConnector/>");
    qxmi::IServiceCall* call = connector->CreateServiceCall(request);
    call->Wait();
    call->Release();
    connector->Release();
    return request.HasFailed() ? 1 : 0;
}

} // namespace

int main()
try
{
    return SayHello();
}
catch (const std::exception& error) // the connector or the call could not be created
{
    std::cerr << "hello: " << error.what() << std::endl;
    return 1;
}
