#include "config/Version.h"
#include "tests/fuzz/FuzzTarget.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    qxm::Version version;
    if (fuzz::Succeeds([&] { version = qxm::Version::Parse(fuzz::Text(data, size), L""); }))
    {
        fuzz::Require(!version.ToText().empty(), "a version has a text");
        fuzz::Require(version.AtLeast(version), "a version is as new as itself");
    }
    return 0;
}
