#pragma once

#include <istream>
#include <string>

namespace qxm
{

class Arguments;

/// The one line with which a servant answers: "servant <identification> executing <service>
/// [CompressionProtocol=<name>]".
struct ServantAnswer
{
    std::wstring identification;
    std::wstring compressionProtocol; ///< empty: none
};

/// Reads the line and not a byte more, and checks it. Every failure reads "Error processing servant answer '<line>':
/// <what>".
ServantAnswer ReadServantAnswer(std::istream& bytes, const std::wstring& serviceName);

/// Throws "Unexpected '<got>' (expected '<expected>')" when the positional argument is another text.
void ExpectArgument(const Arguments& arguments, std::size_t position, const std::wstring& expected);

} // namespace qxm
