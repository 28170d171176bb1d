#pragma once

#include <map>
#include <string>
#include <string_view>

namespace qxm
{

using ServiceRequestAttributes = std::map<std::wstring, std::wstring>;

/// The attributes with every key and value trimmed. Throws "Invalid service request attribute key or value '<text>'"
/// for one that is then empty, or holds white space, a double quote or half of a surrogate pair, which the request line
/// cannot carry.
ServiceRequestAttributes CheckedAttributes(const ServiceRequestAttributes& attributes);

/// "2 Mode fast Size 3": the number of attributes, then each key with its value in key order, checked.
std::wstring SerialiseAttributes(const ServiceRequestAttributes& attributes);

/// The reverse, for the receiver of a request line. Throws "Invalid service request attributes '<text>'".
ServiceRequestAttributes ParseAttributes(std::wstring_view text);

} // namespace qxm
