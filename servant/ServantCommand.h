#pragma once

#include "config/Arguments.h"

#include <string>
#include <vector>

namespace qxservant
{

/// The command line that a servant is started with: "execute", the service's name, named arguments.
class ServantCommand
{
public:
    /// Takes the words after the program's name. Throws what is wrong with them.
    explicit ServantCommand(std::vector<std::wstring> words);

    const std::wstring& ServiceName() const { return m_arguments.Positional(1); }
    std::wstring Argument(const std::wstring& name) const { return m_arguments.NamedOrEmpty(name); }
    bool IsLocal() const { return Argument(L"IsLocal") == L"true"; }

    /// 0 when not given or not applicable.
    unsigned NumberOfProcessorsToUse() const;

    /// The protocol for the CompressionMode asked for: "zlib" is "BlockedRawDeflate", "qlz14" is "BlockedQLZ14", all
    /// else none.
    std::wstring CompressionProtocol() const;

private:
    qxm::Arguments m_arguments;
};

} // namespace qxservant
