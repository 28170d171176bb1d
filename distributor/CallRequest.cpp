#include "distributor/CallRequest.h"

#include "config/Arguments.h"
#include "runtime/Errors.h"
#include "runtime/TextValues.h"

namespace qxd
{
namespace
{

bool NamedBool(const qxm::Arguments& arguments, const std::wstring& name, bool defaultValue)
{
    std::wstring text;
    return arguments.Named(name, text) ? qpr::ParseBool(text, name) : defaultValue;
}

} // namespace

CallRequest CallRequest::Parse(std::wstring_view line)
{
    const qxm::Arguments arguments = qxm::Arguments::Parse(line);
    if (!arguments.PositionalArguments().empty() && arguments.Positional(0) != L"call")
        throw qpr::RuntimeError(L"Unknown command '" + arguments.Positional(0) + L"'");
    arguments.Validate(2, 2, L"Invalid call command",
        {L"WithLog", L"ServiceRequestAttributes", L"LoopbackToLocalMachine", L"LogServiceExecutionInfo",
            L"ServantEnd"});
    // The end of the log connection is how a client's going is noticed.
    if (!NamedBool(arguments, L"WithLog", false))
        throw qpr::RuntimeError(L"Invalid call command: WithLog=true is required");

    CallRequest request;
    request.serviceName = arguments.Positional(1);
    std::wstring attributes;
    if (arguments.Named(L"ServiceRequestAttributes", attributes))
        request.attributes = qxm::ParseAttributes(attributes);
    request.loopbackAllowed = NamedBool(arguments, L"LoopbackToLocalMachine", true);
    request.logServiceExecutionInfo = NamedBool(arguments, L"LogServiceExecutionInfo", false);
    request.servantEnd = NamedBool(arguments, L"ServantEnd", false);
    return request;
}

} // namespace qxd
