#include <qxmi/QxClient.h>

#include <iostream>

// The smallest application: one call of the service "Gzip", its answer on the standard output. Try "hello | gunzip".

namespace
{

class HelloRequest final : public qxmi::IServiceRequestW
{
public:
    void GetServiceName(std::wstring& name) override { name = L"Gzip"; }
    void GetServiceRequestAttributes(std::map<std::wstring, std::wstring>&) override { }

    void Execute(qxmi::IServiceConnectionW& servant) override
    {
        servant.OutputStream() << "hello\n";
        servant.CloseOutput();
        std::cout << servant.InputStream().rdbuf();
    }

    void OnCancelled() override { }
    void OnError(const std::exception& error) override { std::cerr << "hello: " << error.what() << '\n'; }
    void WriteLog(const wchar_t* text, std::size_t length) override
    {
        std::wcerr.write(text, static_cast<std::streamsize>(length));
    }
};

void SayHello()
{
    HelloRequest request;
    qxmi::IServiceConnectorW* connector = qxmi::CreateServiceConnectorW("<LocalServiceConnector/>");
    qxmi::IServiceCall* call = connector->CreateServiceCall(request);
    call->Wait();
    call->Release();
    connector->Release();
}

} // namespace

int main()
try
{
    SayHello();
    return 0;
}
catch (const std::exception& error) // the connector could not be created
{
    std::cerr << "hello: " << error.what() << '\n';
    return 1;
}
