#pragma once

#include "config/XmlDocument.h"

namespace qxm
{

/// Parses the stream to its end with Expat and returns the root element. Throws an XmlError that says what and
/// where.
XmlElement ReadXml(std::istream& input);

} // namespace qxm
