#include "protocol/ServantAnswer.h"

#include "config/Arguments.h"
#include "protocol/LineConversation.h"
#include "runtime/text/Errors.h"
#include "streams/Utf8Streams.h"

namespace qxm
{

namespace
{

ServantAnswer CheckAnswer(const std::wstring& line, const std::wstring& serviceName)
{
    const Arguments arguments = Arguments::Parse(line);
    ExpectArgument(arguments, 0, L"servant");
    ExpectArgument(arguments, 2, L"executing");
    ExpectArgument(arguments, 3, serviceName);
    return {arguments.Positional(1), arguments.NamedOrEmpty(L"CompressionProtocol")};
}

} // namespace

ServantAnswer ReadServantAnswer(std::istream& bytes, const std::wstring& serviceName)
{
    std::wstring line;
    try
    {
        qpr::UTF8InputStream text(bytes);
        line = ReadLine(text);
        return CheckAnswer(line, serviceName);
    }
    catch (const std::exception& error)
    {
        throw qpr::RuntimeError(L"Error processing servant answer '" + line + L"': " + qpr::ErrorText(error));
    }
}

void ExpectArgument(const Arguments& arguments, std::size_t position, const std::wstring& expected)
{
    const std::wstring& got = arguments.Positional(position);
    if (got != expected)
        throw qpr::RuntimeError(L"Unexpected '" + got + L"' (expected '" + expected + L"')");
}

} // namespace qxm
