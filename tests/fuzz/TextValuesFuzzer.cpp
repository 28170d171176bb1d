#include "runtime/TextValues.h"
#include "tests/fuzz/FuzzTarget.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::wstring text = fuzz::Text(data, size);
    fuzz::Succeeds([&] { qpr::ParseInt32(text, L"number"); });
    fuzz::Succeeds([&] { qpr::ParseFloat(text, L"number"); });
    fuzz::Succeeds([&] { qpr::ParseBool(text, L"flag"); });
    fuzz::Succeeds([&] { qpr::ParseUInt32(text, L"number"); });
    fuzz::Succeeds([&] { qpr::ParseUInt64(text, L"number"); });
    fuzz::Succeeds([&] { fuzz::Require(qpr::ParsePercentage(text, L"share") >= 0, "a percentage is not negative"); });
    for (const auto kind : {qpr::UnitKind::Memory, qpr::UnitKind::Frequency, qpr::UnitKind::Bandwidth})
        fuzz::Succeeds([&] { qpr::ParseQuantity(text, kind, L"quantity"); });
    fuzz::Succeeds([&] { qpr::ParseQuotedText(text, L"text"); });
    return 0;
}
