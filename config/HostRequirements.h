#pragma once

#include "config/HostDescription.h"
#include "config/XmlDocument.h"

namespace qxm
{

/// Whether the computer meets the HostRequirements of a servant or service element; one without them is met everywhere.
/// A formula that cannot be parsed or evaluated is not met, silently: a configuration shared by many computers may use
/// formulas that make sense on some of them only.
bool MeetsHostRequirements(const XmlElement& element, const HostDescription& host);

/// The same, but throws what is wrong with the formula.
bool EvaluateHostRequirements(const XmlElement& element, const HostDescription& host);

} // namespace qxm
