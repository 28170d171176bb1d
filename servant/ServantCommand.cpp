#include "servant/ServantCommand.h"

#include "protocol/CompressionMode.h"
#include "protocol/ServantAnswer.h"
#include "runtime/text/TextValues.h"

#include <utility>

namespace qxservant
{

ServantCommand::ServantCommand(std::vector<std::wstring> words)
    : m_arguments(std::move(words))
{
    qxm::ExpectArgument(m_arguments, 0, L"execute");
    m_arguments.Positional(1);
}

unsigned ServantCommand::NumberOfProcessorsToUse() const
{
    const std::wstring name = L"NumberOfProcessorsToUse";
    const std::wstring text = Argument(name);
    return text.empty() || text == L"NotApplicable" ? 0 : qpr::ParseUInt32(text, name);
}

std::wstring ServantCommand::CompressionProtocol() const
{
    const std::wstring mode = Argument(L"CompressionMode");
    if (mode == qxm::CompressionModeName(qxm::CompressionMode::Zlib))
        return L"BlockedRawDeflate";
    if (mode == qxm::CompressionModeName(qxm::CompressionMode::Qlz14))
        return L"BlockedQLZ14";
    return {};
}

} // namespace qxservant
