#include "config/HostDescription.h"
#include "tests/fuzz/FuzzTarget.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::wstring line = fuzz::Text(data, size);
    qxm::HostDescription host;
    fuzz::Succeeds([&] { qxm::HostDescription::Read(line, L"distributor"); });
    if (!fuzz::Succeeds([&] { host = qxm::HostDescription::Read(line, L"client"); }))
        return 0;
    fuzz::Succeeds([&] { host.Write(); });
    return 0;
}
