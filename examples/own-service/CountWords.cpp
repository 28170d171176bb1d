#include <qxmi/QxClient.h>

#include <iostream>

// An application: has the words of its standard input counted by the service "Count".

namespace
{

struct CountRequest final : qxmi::IServiceRequestW
{
    void GetServiceName(std::wstring& name) override { name = L"Count"; }
    void GetServiceRequestAttributes(std::map<std::wstring, std::wstring>&) override { }
    void Execute(qxmi::IServiceConnectionW& servant) override
    {
        servant.OutputStream() << std::cin.rdbuf();
        servant.CloseOutput();
        servant.InputStream() >> words;
    }
    void OnCancelled() override { }
    void OnError(const std::exception& error) override { std::cerr << error.what() << '\n'; }
    void WriteLog(const wchar_t*, std::size_t) override { }

    int words = -1; // until the servant has told
};

} // namespace

int main()
try
{
    CountRequest request;
    qxmi::IServiceConnectorW* connector = qxmi::CreateServiceConnectorW("<LocalServiceConnector/>");
    qxmi::IServiceCall* call = connector->CreateServiceCall(request); // returns at once
    call->Wait();
    call->Release();
    connector->Release();
    std::cout << request.words << '\n';
    return request.words < 0 ? 1 : 0;
}
catch (const std::exception& error) // the connector or the call could not be created
{
    std::cerr << error.what() << '\n';
    return 1;
}
