#pragma once

#include <map>
#include <string>
#include <string_view>

namespace qxm
{

using ServiceRequestAttributes = std::map<std::wstring, std::wstring>;

/// "2 Mode fast Size 3": the number of attributes, then each key with its value in key order, all trimmed. Throws
/// "Invalid service request attribute key or value '<text>'" for one that is then empty, or holds white space or a
/// double quote, which the request line cannot carry.
std::wstring SerialiseAttributes(const ServiceRequestAttributes& attributes);

/// The reverse, for who receives a request line. Throws "Invalid service request attributes '<text>'".
ServiceRequestAttributes ParseAttributes(std::wstring_view text);

} // namespace qxm
