#include "config/XmlDocument.h"
#include "tests/fuzz/FuzzTarget.h"

#include <algorithm>
#include <sstream>

namespace
{

std::size_t Depth(const qxm::XmlElement& element)
{
    std::size_t below = 0;
    for (const qxm::XmlElement& child : element.children)
        below = std::max(below, Depth(child));
    return below + 1;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    std::istringstream input(std::string(reinterpret_cast<const char*>(data), size));
    qxm::XmlDocument document;
    if (!fuzz::Succeeds([&] { document = qxm::XmlDocument::Read(input, L"document"); }))
        return 0;
    fuzz::Require(!document.root.name.empty(), "a document has a root");
    fuzz::Require(Depth(document.root) <= qxm::XmlDocument::maxDepth, "a document's depth is bounded");
    std::istringstream again(std::string(reinterpret_cast<const char*>(data), size));
    fuzz::Require(
        fuzz::Succeeds([&] { qxm::XmlDocument::Read(again, L"document", &document.root); }), "a document fits itself");
    return 0;
}
